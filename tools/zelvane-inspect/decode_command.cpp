// SPDX-License-Identifier: GPL-3.0-or-later
#include <chrono>
#include <future>

#include "commands.h"
#include "json_text.h"
#include "opened_media.h"
#include "process_usage.h"
#include "track_reader.h"

namespace zelvane::inspect {
namespace {

struct Decoded {
    std::int64_t buffers = 0;
    std::int64_t samples = 0;
};

template <class Track>
Decoded decodeAll(const std::shared_ptr<MediaSource>& source, const std::shared_ptr<Track>& track) {
    Decoded decoded;
    if (track == nullptr) {
        return decoded;
    }
    TrackReader reader(source, track);
    while (const auto buffer = reader.next()) {
        ++decoded.buffers;
        decoded.samples += buffer->sampleCount();
    }
    return decoded;
}

} // namespace

int runDecode(const Arguments& arguments) {
    arguments.allow({});
    const auto begin = std::chrono::steady_clock::now();
    const auto source = openMedia(arguments.file());
    const auto opened = std::chrono::steady_clock::now();
    auto audio = std::async(std::launch::async, [&] {
        return decodeAll(source, chosenAudioTrack(*source, arguments));
    });
    const auto video = decodeAll(source, chosenVideoTrack(*source, arguments));
    const auto sound = audio.get();
    const auto end = std::chrono::steady_clock::now();
    const auto usage = ProcessUsage::now();
    const auto seconds = [](auto from, auto to) {
        return std::chrono::duration<double>(to - from).count();
    };
    printLine({{"videoFrames", video.buffers},
               {"audioFrames", sound.samples},
               {"openSeconds", seconds(begin, opened)},
               {"wallSeconds", seconds(begin, end)},
               {"cpuSeconds", usage.cpuSeconds},
               {"peakMemory", usage.peakMemory}});
    return 0;
}

} // namespace zelvane::inspect

// SPDX-License-Identifier: GPL-3.0-or-later
//
// Measures the cost of a large subtitle script: script-events FILM SCRIPT attaches the script to
// the film, decodes its first frame and then all others, and prints one line of JSON:
//
//   attachMs, firstFrameMs    time from the request until it is attached, and until the first frame
//   frames, microsecondsEach  number of frames, and processor time to decode one
//   bytes                     growth of the process's peak memory

#include <condition_variable>
#include <ctime>
#include <iostream>
#include <mutex>

#include <nlohmann/json.hpp>

#include "core_media/ffmpeg_log.h"
#include "foundation/error.h"
#include "foundation/heap.h"
#include "media_player/media_source/media_source.h"
#include "process_usage.h"

namespace zelvane {
namespace {

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point begin) {
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

double threadSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

/// Attaches the script and waits for the answer, which arrives on a queue of the source.
std::shared_ptr<ExternalSubtitlesTrack> attach(const std::shared_ptr<MediaSource>& film,
                                               const std::string& script) {
    std::mutex mutex;
    std::condition_variable attached;
    bool isOver = false;
    std::shared_ptr<ExternalSubtitlesTrack> track;
    const auto finish = [&](std::shared_ptr<ExternalSubtitlesTrack> first) {
        const std::lock_guard lock(mutex);
        track = std::move(first);
        isOver = true;
        attached.notify_one();
    };
    film->addExternalSubtitles(
        URL::fromPath(script), [&](const ExternalSubtitlesTracks& tracks) { finish(tracks.at(0)); },
        [&](const MediaSource::LoadError&) { finish(nullptr); });
    std::unique_lock lock(mutex);
    attached.wait(lock, [&] { return isOver; });
    if (!track) {
        throw std::runtime_error("the script cannot be attached");
    }
    return track;
}

class Frames {
  public:
    explicit Frames(const ExternalSubtitlesTrack& track)
        : track_(track), source_(*track.externalMediaSource()) {}

    /// The number of frames in the next packet; none at the end.
    std::optional<std::size_t> next() {
        const auto packet = source_.visualTracksQueue()->sync([this] {
            return source_.readVisualPacket(nullptr, {track_.externalMediaSourceTrack()});
        });
        if (!packet) {
            return std::nullopt;
        }
        const double begin = threadSeconds();
        const std::size_t count = track_.decoder().decode(*packet->packet).size();
        seconds_ += threadSeconds() - begin;
        return count;
    }
    double seconds() const { return seconds_; }

  private:
    const ExternalSubtitlesTrack& track_;
    PacketSource& source_;
    double seconds_ = 0;
};

nlohmann::ordered_json measure(const std::string& filmPath, const std::string& script) {
    const auto film = MediaSource::open(URL::fromPath(filmPath), std::nullopt, true);
    const auto bytesBefore = inspect::ProcessUsage::now().peakMemory;
    const auto begin = Clock::now();
    const auto track = attach(film, script);
    const double attachedMs = millisecondsSince(begin);
    Frames frames(*track);
    std::size_t count = frames.next().value_or(0);
    const double first = millisecondsSince(begin);
    while (const auto more = frames.next()) {
        count += *more;
    }
    return {{"attachMs", attachedMs},
            {"firstFrameMs", first},
            {"frames", count},
            {"microsecondsEach", frames.seconds() * 1e6 / static_cast<double>(count)},
            {"bytes", inspect::ProcessUsage::now().peakMemory - bytesBefore}};
}

} // namespace
} // namespace zelvane

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "Usage: script-events FILM SCRIPT\n";
        return 2;
    }
    zelvane::keepHeapSmall();
    zelvane::quietFFmpegLog();
    try {
        std::cout << zelvane::measure(argv[1], argv[2]).dump() << "\n";
    } catch (const std::exception& error) {
        std::cerr << zelvane::errorDescriptionText(error) << "\n";
        return 1;
    }
    return 0;
}

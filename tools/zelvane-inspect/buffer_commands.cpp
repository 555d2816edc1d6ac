// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>

#include "buffer_json.h"
#include "commands.h"
#include "foundation/status_error.h"
#include "json_text.h"
#include "opened_media.h"
#include "track_reader.h"

namespace zelvane::inspect {
namespace {

constexpr std::int32_t kMicroseconds = 1'000'000;

/// The first time and the number of buffers to print.
struct Range {
    std::optional<CMTime> from;
    double count;
};

Range rangeOf(const MediaSource& source, const Arguments& arguments) {
    Range range{std::nullopt, std::numeric_limits<double>::infinity()};
    if (const auto from = arguments.number("from")) {
        range.from = source.startTime() + CMTime::fromSeconds(*from, kMicroseconds);
    }
    if (const auto count = arguments.number("count")) {
        range.count = *count;
    }
    return range;
}

template <class Show>
void forEachBuffer(TrackReader& reader, const Range& range, const Show& show) {
    if (range.from) {
        reader.seek(*range.from);
    }
    for (std::uint64_t shown = 0; static_cast<double>(shown) < range.count; ++shown) {
        const auto buffer = reader.next();
        if (buffer == nullptr) {
            return;
        }
        show(*buffer);
    }
}

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); } // NOLINT(*-owning-memory)
};
using File = std::unique_ptr<std::FILE, CloseFile>;

File createdFile(const std::string& path) {
    File file(std::fopen(path.c_str(), "wb"));
    if (file == nullptr) {
        throw SystemError(std::string(kPOSIXErrorDomain), errno);
    }
    return file;
}

void writeSamples(std::FILE* file, const CMBlockBuffer& data) {
    for (std::size_t i = 0; i < data.blockCount(); ++i) {
        const auto block = data.block(i);
        if (std::fwrite(block.data(), 1, block.size(), file) != block.size()) {
            throw SystemError(std::string(kPOSIXErrorDomain), errno);
        }
    }
}

} // namespace

int runFrames(const Arguments& arguments) {
    arguments.allow({"track", "from", "count"});
    const auto source = openMedia(arguments.file());
    const auto track = chosenVideoTrack(*source, arguments);
    if (track == nullptr) {
        throw CommandError("the file has no video track");
    }
    TrackReader reader(source, track);
    forEachBuffer(reader, rangeOf(*source, arguments), [&](const CMSampleBuffer& buffer) {
        printLine(frameJson(buffer, source->startTime()));
    });
    return 0;
}

int runAudio(const Arguments& arguments) {
    arguments.allow({"track", "from", "count", "pcm"});
    const auto source = openMedia(arguments.file());
    const auto track = chosenAudioTrack(*source, arguments);
    if (track == nullptr) {
        throw CommandError("the file has no audio track");
    }
    const auto path = arguments.text("pcm");
    const File pcm = path ? createdFile(*path) : nullptr;
    TrackReader reader(source, track);
    forEachBuffer(reader, rangeOf(*source, arguments), [&](const CMSampleBuffer& buffer) {
        printLine(audioJson(buffer, source->startTime()));
        if (pcm) {
            writeSamples(pcm.get(), *buffer.dataBuffer());
        }
    });
    return 0;
}

} // namespace zelvane::inspect

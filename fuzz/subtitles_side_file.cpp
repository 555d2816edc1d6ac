// SPDX-License-Identifier: GPL-3.0-or-later
//
// Attaches any bytes as a side file, decodes its frames, and seeks. Input that cannot be attached
// or decoded must only throw typed errors. seeds: subtitles/sides

#include <cstdlib>
#include <string>

#include "fuzz/fuzz_target.h"
#include "fuzz/support/memory_file.h"
#include "media_player/media_source/media_source.h"

namespace {

using namespace zelvane;

void decode(const ExternalSubtitlesTrack& track, const Packet& packet) {
    try {
        for (const auto& frame : track.decoder().decode(packet)) {
            if (frame == nullptr || frame->endTime < frame->startTime) {
                std::abort();
            }
        }
    } catch (const Error&) { // The frame is lost.
    }
}

void readSome(const ExternalSubtitlesTrack& track, int count) {
    const auto& source = track.externalMediaSource();
    for (int i = 0; i < count; ++i) {
        const auto packet = source->readVisualPacket(nullptr, {track.externalMediaSourceTrack()});
        if (!packet) {
            decode(track, Packet());
            return;
        }
        decode(track, *packet->packet);
    }
}

void seek(const ExternalSubtitlesTrack& track, const CMTime& time) {
    const auto collected =
        track.externalMediaSource()->seekVisual(nullptr, {track.externalMediaSourceTrack()}, time);
    for (const auto& [ofTrack, packets] : collected) {
        for (const PacketRef& packet : packets) {
            decode(track, *packet);
        }
    }
}

void readWithSeeks(const ExternalSubtitlesTrack& track) {
    constexpr int kAllPackets = 10'000;
    track.externalMediaSource()->visualTracksQueue()->sync([&] {
        readSome(track, 3);
        for (const CMTime& time : {CMTime(5, 1), kCMTimeZero, CMTime(100'000, 1)}) {
            seek(track, time);
            readSome(track, 2);
        }
        seek(track, kCMTimeZero);
        readSome(track, kAllPackets);
    });
}

} // namespace

ZELVANE_FUZZ_TARGET(subtitles_side_file, bytes) {
    const fuzz::MemoryFile file(bytes);
    try {
        const auto external =
            MediaSource::openExternalSubtitles(URL::fromPath(file.path()), CMTime(3600, 1));
        for (const auto& track : external.externalSubtitlesTracks) {
            readWithSeeks(*track);
        }
    } catch (const Error&) { // Attaching or reading failed.
    }
}

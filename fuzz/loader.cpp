// SPDX-License-Identifier: GPL-3.0-or-later
//
// Loads any bytes as a media file, decodes the start of each track, and seeks.
//
// seeds: codecs containers metadata seeking broken hdr rotated

#include <array>
#include <memory>
#include <string>

#include "foundation/error.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/support/memory_file.h"
#include "media_player/decoders/common/core_media_compatible_decode_session.h"
#include "media_player/media_source/media_source.h"

namespace {

using namespace zelvane;

constexpr int kPacketCount = 50;

/// Ignores errors where a player continues after them.
template <class Work>
void survive(Work&& work) {
    try {
        work();
    } catch (const Error&) { // The player logs it and continues.
    }
}

void ignore(const CMSampleBufferRef& /*sampleBuffer*/) {}

void decodeSubtitles(SubtitlesTrack& track, const PacketRef& packet) {
    survive([&] { track.decoder().decode(*packet); });
}

void readAudio(MediaSource& source, const std::shared_ptr<AudioTrack>& track) {
    CoreMediaCompatibleDecodeSession session(track->decoder(), ignore);
    for (int count = 0; count < kPacketCount; ++count) {
        const auto packet =
            source.audioTracksQueue()->sync([&] { return source.readAudioPacket(track); });
        if (packet == nullptr) {
            break;
        }
        survive([&] { session.decode(packet); });
    }
    survive([&] { session.finish(); });
    session.flush();
}

void readVisual(MediaSource& source, const std::shared_ptr<VideoTrack>& track) {
    const auto subtitles = source.subtitlesTracks();
    CoreMediaCompatibleDecodeSession session(track->decoder(), ignore);
    for (int count = 0; count < kPacketCount * 2; ++count) {
        const auto read = source.visualTracksQueue()->sync(
            [&] { return source.readVisualPacket(track, subtitles); });
        if (!read) {
            break;
        }
        if (read->track == track) {
            survive([&] { session.decode(read->packet); });
        } else {
            decodeSubtitles(dynamic_cast<SubtitlesTrack&>(*read->track), read->packet);
        }
    }
    survive([&] { session.finish(); });
    session.flush();
}

void readSubtitles(MediaSource& source) {
    for (int count = 0; count < kPacketCount; ++count) {
        const auto read = source.visualTracksQueue()->sync(
            [&] { return source.readVisualPacket(nullptr, source.subtitlesTracks()); });
        if (!read) {
            return;
        }
        decodeSubtitles(dynamic_cast<SubtitlesTrack&>(*read->track), read->packet);
    }
}

void seekAndRead(MediaSource& source, const CMTime& time) {
    if (!source.videoTracks().empty()) {
        const auto& track = source.videoTracks().front();
        survive([&] {
            source.visualTracksQueue()->sync(
                [&] { return source.seekVisual(track, source.subtitlesTracks(), time); });
            readVisual(source, track);
        });
    } else {
        survive([&] { readSubtitles(source); });
    }
    if (!source.audioTracks().empty()) {
        const auto& track = source.audioTracks().front();
        survive([&] {
            source.audioTracksQueue()->sync([&] { return source.seekAudio(track, time); });
            readAudio(source, track);
        });
    }
}

} // namespace

ZELVANE_FUZZ_TARGET(loader, bytes) {
    const fuzz::MemoryFile file(bytes);
    survive([&] {
        const auto source = MediaSource::open(URL::fromPath(file.path()), std::nullopt, true);
        const CMTime start = source->startTime();
        const CMTime end = start + source->duration();
        for (const CMTime& target : std::array{start, start + CMTime(1, 2), end - CMTime(1, 3)}) {
            seekAndRead(*source, target);
        }
    });
}

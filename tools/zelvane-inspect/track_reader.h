// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "media_player/decoders/common/core_media_compatible_decode_session.h"
#include "media_player/media_source/packet_source.h"

namespace zelvane::inspect {

/// Reads and decodes one video or audio track, one buffer at a time, as the player's providers do.
/// A damaged packet leaves a gap. One thread.
class TrackReader {
  public:
    TrackReader(std::shared_ptr<PacketSource> source, std::shared_ptr<VideoTrack> track);
    TrackReader(std::shared_ptr<PacketSource> source, std::shared_ptr<AudioTrack> track);

    /// Continues with the buffer that covers `target`, a time on the file's timeline. Throws
    /// FFmpegError.
    void seek(const CMTime& target);
    /// Null at the end. Throws FFmpegError when reading fails.
    CMSampleBufferRef next();

  private:
    PacketRef readPacket();
    void decode(const PacketRef& packet);
    bool dropsBeforeTarget(const CMSampleBuffer& sampleBuffer);

    std::shared_ptr<PacketSource> source_;
    std::shared_ptr<VideoTrack> videoTrack_;
    std::shared_ptr<AudioTrack> audioTrack_;
    CoreMediaCompatibleDecodeSession session_;
    std::deque<CMSampleBufferRef> decoded_;
    std::optional<CMTime> target_;
    bool ended_ = false;
};

} // namespace zelvane::inspect

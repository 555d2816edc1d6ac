// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <utility>

#include "core_media/ffmpeg_error.h"
#include "core_media/ffmpeg_handles.h"

namespace zelvane {

/// One demuxed packet; owns its reference to the data. Immutable once read, so it may pass between
/// threads; passing it around never copies the data.
class Packet {
  public:
    /// An empty packet, which tells a decoder that the stream has ended.
    Packet() : avPacket_(checkedFFmpegAllocation(av_packet_alloc())) {}
    explicit Packet(ffmpeg::AVPacketHandle packet) : avPacket_(std::move(packet)) {}

    const AVPacket& avPacket() const { return *avPacket_; }

  private:
    ffmpeg::AVPacketHandle avPacket_;
};

using PacketRef = std::shared_ptr<const Packet>;

} // namespace zelvane

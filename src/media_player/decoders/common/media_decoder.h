// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "core_media/cm_sample_buffer.h"
#include "media_player/decoders/common/packet.h"

namespace zelvane {

/// Any decoder of one stream. Used by one queue at a time.
class MediaDecoder {
  public:
    virtual ~MediaDecoder() = default;
    /// Drops all state: packets are accepted afterwards as after construction.
    virtual void flush() = 0;
};

/// A decoder whose output renderers take.
class CoreMediaCompatibleDecoder : public MediaDecoder {
  public:
    /// Offers a packet. False: the decoder is full, dequeue and offer the same packet again. An
    /// empty packet marks the end of the stream. Throws FFmpegError.
    virtual bool startDecoding(const Packet& packet) = 0;
    /// The next finished buffer, or null when there is none now. Throws FFmpegError, SystemError or
    /// DataMismatchError.
    virtual CMSampleBufferRef dequeueSampleBuffer() = 0;
    /// Buffers that begin before `time` are not wanted: the decoder may leave them out if that does
    /// not change later ones. None: all are wanted, as after construction.
    virtual void setEarliestWantedTime(const std::optional<CMTime>& /*time*/) {}
    /// Directly after a flush: until endSearch(), and from there to the next key packet, decoding
    /// may use all processors. What comes out is the same.
    virtual void beginSearch() {}
    virtual void endSearch() {}
    /// Whether the latest buffer derives from nothing before the flush. False where the first
    /// packet after the flush was flagged as a key frame and is none, as in files that lost their
    /// index.
    virtual bool isClean() const { return true; }
};

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "media_player/decoders/common/media_decoder.h"
#include "media_player/decoders/subtitles/subtitles_frame.h"

namespace zelvane {

/// Turns the packets of a subtitles stream into timed frames. Used by one queue at a time.
class SubtitlesFrameDecoder : public MediaDecoder {
  public:
    /// The frames that this packet completes, often one. An empty packet drains what the decoder
    /// still holds. Throws FFmpegError.
    virtual std::vector<SubtitlesFrameRef> decode(const Packet& packet) = 0;
};

} // namespace zelvane

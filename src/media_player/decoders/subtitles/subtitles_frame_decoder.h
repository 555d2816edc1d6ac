// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "media_player/decoders/common/media_decoder.h"
#include "media_player/decoders/subtitles/subtitles_frame.h"

namespace zelvane {

/// Converts the packets of a subtitles stream to timed frames. Used by one queue at a time.
class SubtitlesFrameDecoder : public MediaDecoder {
  public:
    /// The frames that this packet completes, often one. An empty packet drains the decoder. Throws
    /// FFmpegError.
    virtual std::vector<SubtitlesFrameRef> decode(const Packet& packet) = 0;

    /// The encoding of the packets' text; none for text that needs no conversion, and for pictures.
    virtual const std::optional<std::string>& characterEncoding() const {
        static const std::optional<std::string> none;
        return none;
    }
    /// Sets the encoding of the following packets. A name that iconv does not know counts as none;
    /// a decoder of pictures ignores it.
    virtual void setCharacterEncoding(const std::optional<std::string>& /*encoding*/) {}
};

} // namespace zelvane

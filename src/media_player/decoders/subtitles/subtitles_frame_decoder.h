// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
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

    /// The encoding that the text of the packets is in; none for text that needs no conversion,
    /// and for pictures.
    virtual const std::optional<std::string>& characterEncoding() const {
        static const std::optional<std::string> none;
        return none;
    }
    /// Says what the packets to come are in. A name that iconv does not know is as good as none; a
    /// decoder of pictures takes no heed.
    virtual void setCharacterEncoding(const std::optional<std::string>& /*encoding*/) {}
};

} // namespace zelvane

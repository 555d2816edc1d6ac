// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include "media_player/decoders/subtitles/ass_decoding_error.h"
#include "media_player/decoders/subtitles/ass_splitter.h"
#include "media_player/decoders/subtitles/subtitle_text_styling.h"
#include "media_player/decoders/subtitles/subtitles_frame.h"

namespace zelvane {

/// Who wrote the header of a script.
enum class ASSHeaderOrigin {
    /// Its author.
    script,
    /// libavcodec, out of what another format says. An alignment that is none is then no reason to
    /// refuse the script: it becomes the centre of the bottom.
    madeByLibrary,
};

/// Turns the dialogue lines of a script into attributed strings by the styles of its header, which
/// follow the person's caption appearance as it changes. One thread at a time, but for the change
/// of the styles, which comes on any thread and reaches the next line.
class ASSDecoder {
  public:
    using DecodingError = ASSDecodingError;

    /// Throws DecodingError for a header that cannot be used.
    ASSDecoder(std::string_view headerBytes, ASSHeaderOrigin origin,
               const std::shared_ptr<SubtitleTextStyling>& styling);
    ~ASSDecoder();
    ASSDecoder(const ASSDecoder&) = delete;
    ASSDecoder& operator=(const ASSDecoder&) = delete;

    /// The dialogues of more script text, valid until the next call.
    std::span<const ASSDialogRecord> splitDialogs(std::string_view text);
    /// Throws FFmpegError when the override codes of the line are malformed.
    FormattedTextSubtitle formattedTextSubtitle(const ASSDialogRecord& dialog) const;

  private:
    class Styles;

    std::unique_ptr<ASSSplitter> splitter_;
    std::shared_ptr<Styles> styles_;
    std::shared_ptr<void> userSpecifiedStyleObserverToken_;
};

} // namespace zelvane

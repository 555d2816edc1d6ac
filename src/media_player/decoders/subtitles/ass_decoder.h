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

/// The origin of a script's header.
enum class ASSHeaderOrigin {
    /// The author of the script.
    script,
    /// libavcodec, from another format. An invalid alignment then does not make the script fail: it
    /// becomes the bottom centre.
    madeByLibrary,
};

/// Converts the dialogue lines of a script to attributed strings, by the styles of its header,
/// which follow the user's caption appearance as it changes. Used by one thread at a time; a change
/// of the styles may come on any thread and applies from the next line.
class ASSDecoder {
  public:
    using DecodingError = ASSDecodingError;

    /// Throws DecodingError for an unusable header.
    ASSDecoder(std::string_view headerBytes, ASSHeaderOrigin origin,
               const std::shared_ptr<SubtitleTextStyling>& styling);
    ~ASSDecoder();
    ASSDecoder(const ASSDecoder&) = delete;
    ASSDecoder& operator=(const ASSDecoder&) = delete;

    /// Splits more script text; the dialogues are valid until the next call.
    std::span<const ASSDialogRecord> splitDialogs(std::string_view text);
    /// Throws FFmpegError for malformed override codes.
    FormattedTextSubtitle formattedTextSubtitle(const ASSDialogRecord& dialog) const;

  private:
    class Styles;

    std::unique_ptr<ASSSplitter> splitter_;
    std::shared_ptr<Styles> styles_;
    std::shared_ptr<void> userSpecifiedStyleObserverToken_;
};

} // namespace zelvane

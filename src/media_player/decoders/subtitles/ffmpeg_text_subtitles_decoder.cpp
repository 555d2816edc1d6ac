// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/ffmpeg_error.h"
#include "media_player/decoders/subtitles/ass_stock_form.h"
#include "media_player/decoders/subtitles/ffmpeg_subtitles_decoder.h"

namespace zelvane {

Subtitles FFmpegTextSubtitlesDecoder::makeSubtitles(Rectangles rectangles) {
    std::string text;
    for (const AVSubtitleRect* rectangle : rectangles) {
        if (rectangle->type != SUBTITLE_TEXT || rectangle->text == nullptr) {
            throw FFmpegError::simple(FFmpegError::Case::unknownSubtitleType);
        }
        text += rectangle == rectangles.front() ? "" : "\n";
        text += rectangle->text;
    }
    return TextSubtitle{std::move(text)};
}

Subtitles FFmpegFormattedTextSubtitlesDecoder::makeSubtitles(Rectangles rectangles) {
    std::vector<FormattedTextSubtitle> subtitles;
    for (const AVSubtitleRect* rectangle : rectangles) {
        if (rectangle->ass == nullptr) {
            throw FFmpegError::simple(FFmpegError::Case::unknownSubtitleType);
        }
        append(rectangle->ass, subtitles);
    }
    return subtitles;
}

void FFmpegFormattedTextSubtitlesDecoder::append(std::string_view event,
                                                 std::vector<FormattedTextSubtitle>& subtitles) {
    const auto line = dialogueLine(event);
    const auto dialogs =
        line ? assDecoder_->splitDialogs(*line) : std::span<const ASSDialogRecord>();
    if (dialogs.empty()) {
        throw ASSDecodingError::invalidDialogBytes();
    }
    for (const ASSDialogRecord& dialog : dialogs) {
        subtitles.push_back(assDecoder_->formattedTextSubtitle(dialog));
    }
}

} // namespace zelvane

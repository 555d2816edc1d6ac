// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "core_media/cv_pixel_buffer.h"
#include "core_media/video_dimensions.h"
#include "foundation/cm_time.h"
#include "foundation/geometry.h"
#include "media_player/decoders/subtitles/subtitle_text_style.h"
#include "text/attributed_string.h"

namespace zelvane {

/// Plain lines, shown in the user's style.
struct TextSubtitle {
    std::string text;
};

/// One dialogue line with its attributes.
struct FormattedTextSubtitle {
    AttributedStringRef formattedText;
    /// Insets, alignment, overlay and scaling, which are not attributes of a run.
    SubtitleTextStyle style;
};

/// A picture of 32-bit BGRA, not premultiplied.
struct ImageSubtitle {
    CVPixelBufferRef image;
    /// The position in the picture, with the origin at its top left.
    CGRect imageFrame;
    /// The size of the picture that imageFrame refers to, if the format states it.
    std::optional<VideoDimensions> videoDimensions;
};

/// Removes everything on display when it is due.
struct ClearPreviousSubtitles {};

using Subtitles = std::variant<TextSubtitle, std::vector<FormattedTextSubtitle>,
                               std::vector<ImageSubtitle>, ClearPreviousSubtitles>;

/// The plain lines of any text; empty for pictures.
std::string plainText(const Subtitles& subtitles);

/// What is shown, with its time on the file's time line. Immutable, shared between threads. Its end
/// is never before its start.
struct SubtitlesFrame {
    CMTime startTime;
    CMTime endTime;
    Subtitles subtitles;
};

using SubtitlesFrameRef = std::shared_ptr<const SubtitlesFrame>;

} // namespace zelvane

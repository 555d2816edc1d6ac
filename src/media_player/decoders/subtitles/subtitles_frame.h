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

/// Plain lines, shown in the person's style.
struct TextSubtitle {
    std::string text;
};

/// One dialogue line with its looks.
struct FormattedTextSubtitle {
    AttributedStringRef formattedText;
    /// What is no attribute of a run: insets, alignment, overlay and scaling.
    SubtitleTextStyle style;
};

/// A picture of 32-bit BGRA, not premultiplied.
struct ImageSubtitle {
    CVPixelBufferRef image;
    /// Where it lies on the picture, with the origin at its top left.
    CGRect imageFrame;
    /// The size of the picture that imageFrame refers to, where the format says it.
    std::optional<VideoDimensions> videoDimensions;
};

/// Everything on display goes away when this is due.
struct ClearPreviousSubtitles {};

using Subtitles = std::variant<TextSubtitle, std::vector<FormattedTextSubtitle>,
                               std::vector<ImageSubtitle>, ClearPreviousSubtitles>;

/// The lines of any text without their looks; empty for pictures.
std::string plainText(const Subtitles& subtitles);

/// What is to be shown, with its time on the file's time line. Immutable, shared between threads.
/// It never ends before it starts.
struct SubtitlesFrame {
    CMTime startTime;
    CMTime endTime;
    Subtitles subtitles;
};

using SubtitlesFrameRef = std::shared_ptr<const SubtitlesFrame>;

} // namespace zelvane

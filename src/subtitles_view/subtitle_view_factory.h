// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "media_player/decoders/subtitles/subtitles_frame.h"
#include "subtitles_view/subtitle_view.h"

namespace zelvane {

/// Makes the views of a SubtitlesView. Called on the main queue.
struct SubtitleViewFactory {
    using TextViewMaker = std::function<std::unique_ptr<SubtitleView>(
        FormattedTextSubtitle subtitle, bool isPrimarySubtitle)>;
    /// The dimensions are those of the video picture, if known.
    using ImageViewMaker = std::function<std::unique_ptr<SubtitleView>(
        ImageSubtitle subtitle, bool isPrimarySubtitle,
        const std::optional<VideoDimensions>& videoDimensions)>;

    TextViewMaker makeTextView;
    ImageViewMaker makeImageView;
    /// The user's style, for text without a style of its own.
    std::function<SubtitleTextStyle()> userSpecifiedStyle;

    /// A factory of views that draw, with the style of the shared manager.
    static SubtitleViewFactory standard();
};

} // namespace zelvane

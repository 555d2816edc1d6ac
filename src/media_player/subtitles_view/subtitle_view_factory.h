// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "media_player/decoders/subtitles/subtitles_frame.h"
#include "media_player/subtitles_view/subtitle_view.h"

namespace zelvane {

/// What a SubtitlesView makes its views with. Called on the main queue.
struct SubtitleViewFactory {
    using TextViewMaker = std::function<std::unique_ptr<SubtitleView>(
        FormattedTextSubtitle subtitle, bool isPrimarySubtitle)>;
    /// The dimensions are those of the picture underneath, where they are known.
    using ImageViewMaker = std::function<std::unique_ptr<SubtitleView>(
        ImageSubtitle subtitle, bool isPrimarySubtitle,
        const std::optional<VideoDimensions>& videoDimensions)>;

    TextViewMaker makeTextView;
    ImageViewMaker makeImageView;
    /// The person's style, which text without looks of its own is shown in.
    std::function<SubtitleTextStyle()> userSpecifiedStyle;

    /// Views that draw, and the style of the shared manager.
    static SubtitleViewFactory standard();
};

} // namespace zelvane

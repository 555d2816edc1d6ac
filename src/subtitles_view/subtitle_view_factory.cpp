// SPDX-License-Identifier: GPL-3.0-or-later
#include "subtitles_view/subtitle_view_factory.h"

#include <utility>

#include "media_player/decoders/subtitles/subtitle_text_style_manager.h"
#include "subtitles_view/formatted_text_subtitle_view.h"
#include "subtitles_view/image_subtitle_view.h"

namespace zelvane {

SubtitleViewFactory SubtitleViewFactory::standard() {
    SubtitleViewFactory factory;
    factory.makeTextView = [](FormattedTextSubtitle subtitle, bool isPrimarySubtitle) {
        return std::make_unique<FormattedTextSubtitleView>(std::move(subtitle), isPrimarySubtitle);
    };
    factory.makeImageView = [](ImageSubtitle subtitle, bool isPrimarySubtitle,
                               const std::optional<VideoDimensions>& videoDimensions) {
        return std::make_unique<ImageSubtitleView>(std::move(subtitle), isPrimarySubtitle,
                                                   videoDimensions);
    };
    factory.userSpecifiedStyle = [] {
        return SubtitleTextStyleManager::shared()->userSpecifiedStyle();
    };
    return factory;
}

} // namespace zelvane

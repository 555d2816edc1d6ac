// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/subtitles/subtitle_text_styling.h"

#include <utility>

#include "media_player/decoders/subtitles/subtitle_text_style_manager.h"

namespace zelvane {
namespace {

/// Adapts the shared manager and notifier.
class SharedSubtitleTextStyling final : public SubtitleTextStyling {
  public:
    SubtitleTextStyle userSpecifiedStyle() const override {
        return SubtitleTextStyleManager::shared()->userSpecifiedStyle();
    }
    SubtitleTextStyle effectiveStyle(const SubtitleTextStyle& style) const override {
        return SubtitleTextStyleManager::shared()->effectiveStyle(style);
    }
    std::shared_ptr<void> addDecoderObserver(std::function<void()> observer) override {
        return SubtitleTextStyleUpdateNotifier::shared()->addDecoderObserver(std::move(observer));
    }
};

} // namespace

std::shared_ptr<SubtitleTextStyling> sharedSubtitleTextStyling() {
    static const auto styling = std::make_shared<SharedSubtitleTextStyling>();
    return styling;
}

} // namespace zelvane

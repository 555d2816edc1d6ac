// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/subtitles/subtitle_text_styling.h"

#include "text/font_catalog.h"

namespace zelvane {
namespace {

constexpr double kBaseFontSize = 12;
constexpr double kContainerInset = 12;
constexpr double kPercentageOfVideoHeight = 5;
/// Half of it lies inside the letters.
constexpr double kOutlineWidth = -19.44444;

SubtitleTextStyle plainStyle() {
    SubtitleTextStyle style;
    auto& attributes = style.textAttributes.underlyingTextAttributes;
    attributes.font = FontCatalog::shared().systemFont(kBaseFontSize);
    attributes.foregroundColor = kWhiteColor;
    attributes.strokeWidth = kOutlineWidth;
    attributes.strokeColor = kBlackColor;
    style.overlayStyle = {{2, 2}, 0, kBlackColor.withAlpha(0)};
    style.containerInsets = {kContainerInset, kContainerInset, kContainerInset, kContainerInset};
    style.shouldRestrictOverridesToBasicAttributes = true;
    style.scalingInfo = {kBaseFontSize, kPercentageOfVideoHeight, 1};
    return style;
}

/// White text with a dark outline for a person who has asked for nothing; files keep their styles.
class PlainSubtitleTextStyling final : public SubtitleTextStyling {
  public:
    SubtitleTextStyle userSpecifiedStyle() const override { return style_; }
    SubtitleTextStyle effectiveStyle(const SubtitleTextStyle& style) const override {
        return style;
    }
    std::shared_ptr<void> addDecoderObserver(std::function<void()> /*observer*/) override {
        return nullptr;
    }

  private:
    SubtitleTextStyle style_ = plainStyle();
};

} // namespace

std::shared_ptr<SubtitleTextStyling> sharedSubtitleTextStyling() {
    static const auto styling = std::make_shared<PlainSubtitleTextStyling>();
    return styling;
}

} // namespace zelvane

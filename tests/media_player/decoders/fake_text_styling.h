// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "media_player/decoders/subtitles/subtitle_text_styling.h"

namespace zelvane::test {

/// Styling controlled by the test. Used by one thread.
class FakeTextStyling final : public SubtitleTextStyling {
  public:
    FakeTextStyling() {
        auto& attributes = style.textAttributes.underlyingTextAttributes;
        attributes.font = Font{"User Sans", 12, 0};
        attributes.foregroundColor = SRGBColor{1, 1, 0, 0.5};
        style.containerInsets = {1, 2, 3, 4};
        style.shouldRestrictOverridesToBasicAttributes = true;
        style.scalingInfo = {12, 5, 1.5};
    }

    SubtitleTextStyle userSpecifiedStyle() const override { return style; }
    SubtitleTextStyle effectiveStyle(const SubtitleTextStyle& fileStyle) const override {
        if (!isInForce) {
            return fileStyle;
        }
        SubtitleTextStyle effective = style;
        effective.applyOverrides(fileStyle);
        return effective;
    }
    std::shared_ptr<void> addDecoderObserver(std::function<void()> observer) override {
        auto token = std::make_shared<std::function<void()>>(std::move(observer));
        observer_ = token;
        return token;
    }

    bool hasObserver() const { return !observer_.expired(); }
    void notify() const {
        if (const auto observer = observer_.lock()) {
            (*observer)();
        }
    }

    SubtitleTextStyle style;
    bool isInForce = false;

  private:
    std::weak_ptr<std::function<void()>> observer_;
};

} // namespace zelvane::test

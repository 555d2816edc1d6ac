// SPDX-License-Identifier: GPL-3.0-or-later
#include "subtitles_view/text_subtitle_layout.h"

#include <cmath>

namespace zelvane {
namespace {

using Alignment = SubtitleTextStyle::Alignment;

/// Scripts may state any number, and invalid ones.
double finite(double value) {
    return std::isfinite(value) ? value : 0;
}

bool isLength(double value) {
    return value > 0 && std::isfinite(value);
}

/// Rounds a length that differs from a whole number only by rounding errors.
double roundedUp(double length) {
    constexpr double kNoise = 1e-6;
    return std::ceil(length - kNoise);
}

double freePartOnTheLeft(Alignment alignment) {
    switch (alignment) {
    case Alignment::left:
        return 0;
    case Alignment::center:
        return 0.5;
    case Alignment::right:
        return 1;
    }
    return 0.5;
}

} // namespace

double textSubtitleScale(const SubtitleTextStyle::ScalingInfo& scaling, double viewHeight) {
    const double scale = scaling.baseFontSizePercentageRelativeToVideoHeight * viewHeight / 100 /
                         scaling.initialBaseFontSize;
    return isLength(scale) ? scale : 1;
}

TextSubtitleSpace textSubtitleSpace(const SubtitleTextStyle& style, CGSize viewSize) {
    const double scale = textSubtitleScale(style.scalingInfo, viewSize.height);
    const double unit = scale * style.scalingInfo.additionalFontSizeMultiplier;
    const CGSize overlay{finite(unit * style.overlayStyle.insets.width),
                         finite(unit * style.overlayStyle.insets.height)};
    const NSEdgeInsets& insets = style.containerInsets;
    const double left = finite(insets.left * scale) + overlay.width;
    const double right = finite(insets.right * scale) + overlay.width;
    const double top = finite(insets.top * scale) + overlay.height;
    const double bottom = finite(insets.bottom * scale) + overlay.height;
    return {{left, top, viewSize.width - (left + right), viewSize.height - (top + bottom)},
            unit,
            overlay};
}

CGSize textSubtitleLimits(const TextSubtitleSpace& space, CGSize viewSize) {
    const auto limit = [&](double ofSpace, double ofView) {
        return (ofSpace > 0 ? ofSpace : ofView) / space.unit;
    };
    return {limit(space.frame.width, viewSize.width), limit(space.frame.height, viewSize.height)};
}

CGRect textSubtitleFrame(const TextSubtitleSpace& space, Alignment alignment, bool standsAtBottom,
                         CGSize size) {
    const double width = roundedUp(size.width * space.unit);
    const double height = roundedUp(size.height * space.unit);
    const CGRect& frame = space.frame;
    return {frame.x + (frame.width - width) * freePartOnTheLeft(alignment),
            standsAtBottom ? frame.y + frame.height - height : frame.y, width, height};
}

CGRect textSubtitleBox(const TextSubtitleSpace& space, const CGRect& textFrame) {
    const CGSize& insets = space.overlayInsets;
    return {textFrame.x - insets.width, textFrame.y - insets.height,
            textFrame.width + 2 * insets.width, textFrame.height + 2 * insets.height};
}

} // namespace zelvane

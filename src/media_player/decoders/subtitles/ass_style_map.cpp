// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/subtitles/ass_style_map.h"

#include <cmath>

#include "media_player/decoders/subtitles/ass_decoding_error.h"
#include "text/font_catalog.h"

namespace zelvane {
namespace {

constexpr std::int32_t kMadeHeaderWidth = 384;
constexpr std::int32_t kMadeHeaderHeight = 288;
constexpr std::int32_t kOn = -1;
constexpr std::int32_t kOutlineAndShadow = 1;
constexpr std::int32_t kOpaqueBox = 3;

using Alignment = SubtitleTextStyle::Alignment;

/// Scripts name Arial if their author chose no font.
Font fontOf(const ASSStyleRecord& record) {
    const FontCatalog& catalog = FontCatalog::shared();
    const double size = record.Fontsize;
    const bool isChosen =
        record.Fontname && !record.Fontname->empty() && *record.Fontname != "Arial";
    const auto chosen = isChosen ? catalog.font(*record.Fontname, size) : std::nullopt;
    return chosen ? *chosen : catalog.helvetica(size);
}

FontTraitMask traitsOf(const ASSStyleRecord& record) {
    return (record.Italic == kOn ? kItalicFontMask : 0) | (record.Bold == kOn ? kBoldFontMask : 0);
}

SubtitleTextStyle::TextAttributes textAttributesOf(const ASSStyleRecord& record) {
    SubtitleTextStyle::TextAttributes result;
    StringAttributes& attributes = result.underlyingTextAttributes;
    result.fontTraits = traitsOf(record);
    attributes.font = fontOf(record).havingTraits(result.fontTraits);
    attributes.kern = record.Spacing;
    attributes.foregroundColor = colorFromASS(record.PrimaryColour);
    if (record.Underline == kOn) {
        attributes.underlineStyle = 1;
    }
    if (record.StrikeOut == kOn) {
        attributes.strikethroughStyle = 1;
    }
    return result;
}

/// Only the outer half of a stroke is visible, so the stroke is twice as wide as the outline. Text
/// of size 0 gets no outline.
double strokeWidth(double outline, double pointSize) {
    const double width = 2 * (outline / pointSize * -100);
    return std::isfinite(width) ? width : 0;
}

void setOutlineAndShadow(const ASSStyleRecord& record, StringAttributes& attributes) {
    double outline = record.Outline;
    if (record.Shadow != 0) {
        attributes.shadow =
            TextShadow{{record.Shadow, -record.Shadow}, 0, colorFromASS(record.BackColour)};
        outline = outline == 0 ? 1.0 : outline;
    }
    attributes.strokeWidth = strokeWidth(outline, attributes.font->pointSize);
    attributes.strokeColor = colorFromASS(record.OutlineColour);
}

void setBorder(const ASSStyleRecord& record, SubtitleTextStyle& style) {
    style.overlayStyle = {{0, 0}, 0, kBlackColor.withAlpha(0)};
    if (record.BorderStyle == kOutlineAndShadow) {
        setOutlineAndShadow(record, style.textAttributes.underlyingTextAttributes);
    } else if (record.BorderStyle == kOpaqueBox) {
        style.overlayStyle.insets = {record.Outline, record.Outline};
        style.overlayStyle.backgroundColor = colorFromASS(record.OutlineColour);
    }
}

/// The row is ignored: the view decides the vertical position.
Alignment alignmentOf(const ASSStyleRecord& record) {
    if (record.Alignment < 1 || record.Alignment > 9) {
        throw ASSDecodingError::invalidTextAlignmentValue(record.Alignment);
    }
    switch (record.Alignment % 3) {
    case 1:
        return Alignment::left;
    case 2:
        return Alignment::center;
    default:
        return Alignment::right;
    }
}

double percentageOfVideoHeight(double size, const std::optional<CGSize>& container,
                               const SubtitleTextStyling& styling) {
    const double percentage = container ? size / container->height * 100 : 0;
    return percentage > 0 && std::isfinite(percentage)
               ? percentage
               : styling.userSpecifiedStyle()
                     .scalingInfo.baseFontSizePercentageRelativeToVideoHeight;
}

SubtitleTextStyle makeStyle(const ASSStyleRecord& record, const std::optional<CGSize>& container,
                            const SubtitleTextStyling& styling) {
    SubtitleTextStyle style;
    style.textAttributes = textAttributesOf(record);
    setBorder(record, style);
    style.alignmentInContainer = alignmentOf(record);
    style.containerInsets = {
        static_cast<double>(record.MarginV), static_cast<double>(record.MarginL),
        static_cast<double>(record.MarginV), static_cast<double>(record.MarginR)};
    const double size = record.Fontsize;
    style.scalingInfo = {size, percentageOfVideoHeight(size, container, styling), 1};
    style.shouldRestrictOverridesToBasicAttributes = false;
    return styling.effectiveStyle(style);
}

} // namespace

SRGBColor colorFromASS(std::uint32_t value) {
    const auto component = [&](unsigned shift) {
        return static_cast<double>((value >> shift) & 0xffU) / 255;
    };
    return {component(0), component(8), component(16), 1 - component(24)};
}

std::optional<CGSize> originalContainerSize(const ASSScriptInfoRecord& scriptInfo) {
    const std::int32_t width = scriptInfo.PlayResX;
    const std::int32_t height = scriptInfo.PlayResY;
    if (width == kMadeHeaderWidth && height == kMadeHeaderHeight) {
        return std::nullopt;
    }
    return CGSize{static_cast<double>(width), static_cast<double>(height)};
}

ASSStyleMap makeASSStyleMap(const std::vector<ASSStyleRecord>& records,
                            const std::optional<CGSize>& container,
                            const SubtitleTextStyling& styling) {
    ASSStyleMap map;
    for (const ASSStyleRecord& record : records) {
        // No line can refer to a style without a name.
        if (!record.Name) {
            continue;
        }
        if (map.contains(*record.Name)) {
            throw ASSDecodingError::duplicateStyleName(*record.Name);
        }
        map.emplace(*record.Name, makeStyle(record, container, styling));
    }
    if (!map.contains(kDefaultASSStyleName)) {
        map.emplace(kDefaultASSStyleName, styling.userSpecifiedStyle());
    }
    return map;
}

} // namespace zelvane

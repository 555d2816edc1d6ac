// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/subtitles/ass_override_state.h"

#include <fmt/format.h>

#include "foundation/log.h"
#include "foundation/text.h"
#include "text/font_catalog.h"

namespace zelvane {
namespace {

constexpr double kAlphaOfShadowWithoutColor = 1.0 / 3.0;
/// The numbers of the colour tags.
constexpr int kOutlineNumber = 3;
constexpr int kShadowNumber = 4;
/// A limit, as each run takes a hundred times the memory of its tag. No readable line has as many;
/// the words after the last run get its attributes.
constexpr std::size_t kMaximumRunCount = 4096;
constexpr std::size_t kMaximumDescribedBytes = 24;

std::string bytesDescription(std::string_view bytes) {
    std::string hex;
    for (const char byte : bytes.substr(0, kMaximumDescribedBytes)) {
        hex += fmt::format("{:02x}", static_cast<unsigned char>(byte));
    }
    return fmt::format("{{length = {}, bytes = 0x{}{}}}", bytes.size(), hex,
                       bytes.size() > kMaximumDescribedBytes ? " ... " : "");
}

SRGBColor foreground(const StringAttributes& attributes) {
    return attributes.foregroundColor.value_or(kBlackColor);
}

SRGBColor strokeColor(const StringAttributes& attributes) {
    return attributes.strokeColor ? *attributes.strokeColor : foreground(attributes);
}

bool hasStroke(const StringAttributes& attributes) {
    return attributes.strokeWidth.value_or(0) != 0;
}

std::optional<SRGBColor> shadowColor(const StringAttributes& attributes) {
    return attributes.shadow ? attributes.shadow->color : std::nullopt;
}

double alphaOfShadow(const std::optional<SRGBColor>& color) {
    return color ? color->alpha : kAlphaOfShadowWithoutColor;
}

/// None for a tag without a value, which restores the style's colour.
std::optional<SRGBColor> colorOfTag(std::uint32_t color) {
    return color == ASSOverrideCallbacks::kNoColor ? std::nullopt
                                                   : std::optional(colorFromASS(color));
}

std::optional<double> opacityOfTag(std::int32_t alpha) {
    return alpha < 0 || alpha > 255 ? std::nullopt : std::optional((255 - alpha) / 255.0);
}

int lineStyle(ASSOverrideCallbacks::Switch value, const std::optional<int>& ofBase) {
    switch (value) {
    case ASSOverrideCallbacks::Switch::on:
        return 1;
    case ASSOverrideCallbacks::Switch::off:
        return 0;
    default:
        return ofBase.value_or(0);
    }
}

} // namespace

void ASSOverrideState::text(std::string_view bytes) {
    if (!isValidUTF8(bytes)) {
        logMessage("ASS text bytes could not be interpreted as a string: {}.",
                   bytesDescription(bytes));
        return;
    }
    append(bytes);
}

void ASSOverrideState::append(std::string_view text) {
    const auto& runs = output_.runs();
    if (runs.size() < kMaximumRunCount) {
        output_.append(text, current());
    } else {
        output_.append(text, StringAttributes(runs.back().attributes));
    }
}

void ASSOverrideState::newLine(bool /*forced*/) {
    append("\n");
}

void ASSOverrideState::setTrait(FontTraitMask trait, Switch value) {
    auto& attributes = currentStyle_.textAttributes;
    const bool isOn = value == Switch::on || (value == Switch::reset &&
                                              (baseStyle_.textAttributes.fontTraits & trait) != 0);
    attributes.fontTraits = isOn ? attributes.fontTraits | trait : attributes.fontTraits & ~trait;
    attributes.setFont(attributes.font());
}

void ASSOverrideState::style(char tag, Switch value) {
    switch (tag) {
    case 'b':
        setTrait(kBoldFontMask, value);
        break;
    case 'i':
        setTrait(kItalicFontMask, value);
        break;
    case 'u':
        current().underlineStyle = lineStyle(value, base().underlineStyle);
        break;
    default:
        current().strikethroughStyle = lineStyle(value, base().strikethroughStyle);
        break;
    }
}

/// A new colour keeps the previous alpha.
void ASSOverrideState::color(std::uint32_t color, int number) {
    if (isRestricted()) {
        return;
    }
    const auto chosen = colorOfTag(color);
    if (number <= 1) {
        current().foregroundColor =
            chosen ? chosen->withAlpha(foreground(current()).alpha) : foreground(base());
    } else if (number == kOutlineNumber && hasStroke(current())) {
        current().strokeColor =
            chosen.value_or(strokeColor(base())).withAlpha(strokeColor(current()).alpha);
    } else if (number == kShadowNumber && current().shadow) {
        auto& shadow = *current().shadow;
        shadow.color =
            chosen ? chosen->withAlpha(alphaOfShadow(shadow.color)) : shadowColor(base());
    }
}

void ASSOverrideState::alpha(std::int32_t alpha, int number) {
    if (isRestricted()) {
        return;
    }
    const auto opacity = opacityOfTag(alpha);
    if (number <= 1) {
        current().foregroundColor =
            foreground(current()).withAlpha(opacity.value_or(foreground(base()).alpha));
    } else if (number == kOutlineNumber && hasStroke(current())) {
        current().strokeColor =
            strokeColor(current()).withAlpha(opacity.value_or(strokeColor(base()).alpha));
    } else if (number == kShadowNumber && current().shadow) {
        auto& shadow = *current().shadow;
        shadow.color = shadow.color.value_or(kBlackColor)
                           .withAlpha(opacity.value_or(alphaOfShadow(shadowColor(base()))));
    }
}

void ASSOverrideState::fontName(std::string_view name) {
    if (isRestricted()) {
        return;
    }
    auto& attributes = currentStyle_.textAttributes;
    const double size = attributes.font().pointSize;
    if (name.empty()) {
        attributes.setFont(baseStyle_.textAttributes.font().ofSize(size));
    } else if (const auto font = FontCatalog::shared().font(name, size)) {
        attributes.setFont(*font);
    }
}

/// A size below 0 is invalid and counts as none.
void ASSOverrideState::fontSize(std::int32_t size) {
    if (isRestricted()) {
        return;
    }
    auto& attributes = currentStyle_.textAttributes;
    const double points = size > 0 ? size : baseStyle_.textAttributes.font().pointSize;
    attributes.setFont(attributes.font().ofSize(points));
}

void ASSOverrideState::alignment(std::int32_t code) {
    using Alignment = SubtitleTextStyle::Alignment;
    const bool isKnown = code >= 1 && code <= 9;
    currentStyle_.alignmentInContainer =
        isKnown ? static_cast<Alignment>((code - 1) % 3) : baseStyle_.alignmentInContainer;
}

void ASSOverrideState::cancelOverrides(std::string_view styleName) {
    const auto found = styleName.empty() ? styleMap_.end() : styleMap_.find(styleName);
    if (found == styleMap_.end()) {
        currentStyle_ = baseStyle_;
    } else {
        currentStyle_.applyOverrides(found->second);
    }
}

} // namespace zelvane

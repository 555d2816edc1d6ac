// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/subtitles/subtitle_text_style.h"

#include "text/font_catalog.h"

namespace zelvane {
namespace {

constexpr double kFallbackFontSize = 12;

} // namespace

Font SubtitleTextStyle::TextAttributes::font() const {
    return underlyingTextAttributes.font ? *underlyingTextAttributes.font
                                         : FontCatalog::shared().helvetica(kFallbackFontSize);
}

void SubtitleTextStyle::TextAttributes::setFont(const Font& font) {
    const FontTraitMask all = kBoldFontMask | kItalicFontMask;
    underlyingTextAttributes.font =
        font.notHavingTraits(all & ~fontTraits).havingTraits(fontTraits);
}

void SubtitleTextStyle::applyOverrides(const SubtitleTextStyle& other) {
    if (!shouldRestrictOverridesToBasicAttributes) {
        *this = other;
        return;
    }
    const StringAttributes& others = other.textAttributes.underlyingTextAttributes;
    StringAttributes& own = textAttributes.underlyingTextAttributes;
    textAttributes.fontTraits = other.textAttributes.fontTraits;
    textAttributes.setFont(textAttributes.font());
    own.underlineStyle = others.underlineStyle.value_or(0);
    own.strikethroughStyle = others.strikethroughStyle.value_or(0);
    alignmentInContainer = other.alignmentInContainer;
}

} // namespace zelvane

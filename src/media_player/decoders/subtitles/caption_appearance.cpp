// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/subtitles/caption_appearance.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "foundation/locale.h"
#include "text/font_catalog.h"

namespace zelvane {
namespace {

/// Reads "#rrggbb".
std::optional<SRGBColor> colorOf(std::string_view text) {
    constexpr std::size_t kLength = 7;
    constexpr int kHexadecimal = 16;
    if (text.size() != kLength || text.front() != '#') {
        return std::nullopt;
    }
    unsigned code = 0;
    const char* const end = text.data() + text.size();
    const auto [behind, status] = std::from_chars(text.data() + 1, end, code, kHexadecimal);
    if (status != std::errc() || behind != end) {
        return std::nullopt;
    }
    const auto component = [&](unsigned shift) { return (code >> shift & 0xffU) / 255.0; };
    return SRGBColor{component(16), component(8), component(0), 1};
}

} // namespace

CaptionAppearance& CaptionAppearance::shared() {
    static CaptionAppearance appearance(UserDefaults::shared(), NotificationCenter::shared());
    return appearance;
}

CaptionAppearance::CaptionAppearance(const UserDefaults& defaults,
                                     NotificationCenter& notificationCenter)
    : defaults_(defaults), notificationCenter_(notificationCenter) {}

std::optional<Font> CaptionAppearance::font(double pointSize) const {
    const FontTraitMask traits =
        (defaults_.boolForKey("ZLVNCaptionFontBold") ? kBoldFontMask : 0) |
        (defaults_.boolForKey("ZLVNCaptionFontItalic") ? kItalicFontMask : 0);
    const std::string family = defaults_.stringForKey("ZLVNCaptionFontFamily");
    const FontCatalog& catalog = FontCatalog::shared();
    const auto named = family.empty() ? std::nullopt : catalog.font(family, pointSize);
    return named.value_or(catalog.systemFont(pointSize)).havingTraits(traits);
}

std::optional<SRGBColor> CaptionAppearance::foregroundColor() const {
    return color("ZLVNCaptionForegroundColor");
}

double CaptionAppearance::foregroundOpacity() const {
    return number("ZLVNCaptionForegroundOpacity", 1, 0, 1);
}

std::optional<SRGBColor> CaptionAppearance::backgroundColor() const {
    return color("ZLVNCaptionBackgroundColor");
}

double CaptionAppearance::backgroundOpacity() const {
    return number("ZLVNCaptionBackgroundOpacity", 0, 0, 1);
}

std::int64_t CaptionAppearance::textEdgeStyle() const {
    constexpr std::string_view kKey = "ZLVNCaptionTextEdgeStyle";
    return defaults_.value(kKey) ? defaults_.integerForKey(kKey)
                                 : static_cast<std::int64_t>(CaptionTextEdgeStyle::dropShadow);
}

std::optional<SRGBColor> CaptionAppearance::windowColor() const {
    return color("ZLVNCaptionWindowColor");
}

double CaptionAppearance::windowOpacity() const {
    return number("ZLVNCaptionWindowOpacity", 0, 0, 1);
}

double CaptionAppearance::windowRoundedCornerRadius() const {
    return number("ZLVNCaptionWindowRoundedCornerRadius", 0, 0, 100);
}

double CaptionAppearance::relativeCharacterSize() const {
    return number("ZLVNCaptionRelativeCharacterSize", 1, 0.25, 4);
}

std::vector<std::string> CaptionAppearance::selectedLanguages() const {
    std::vector<std::string> languages;
    for (const std::string& tag : defaults_.stringsForKey("ZLVNCaptionLanguages")) {
        if (!tag.empty()) {
            languages.push_back(canonicalLanguageIdentifier(tag));
        }
    }
    return languages.empty() ? preferredLanguagesFromEnvironment() : languages;
}

std::vector<std::string> CaptionAppearance::preferredCaptioningCharacteristics() const {
    return defaults_.stringsForKey("ZLVNCaptionCharacteristics");
}

std::vector<std::string> CaptionAppearance::preferredAudibleCharacteristics() const {
    return defaults_.stringsForKey("ZLVNAudibleCharacteristics");
}

void CaptionAppearance::settingsDidChange() const {
    notificationCenter_.post({std::string(kSettingsChangedNotification), this, {}});
}

std::optional<SRGBColor> CaptionAppearance::color(std::string_view key) const {
    return colorOf(defaults_.stringForKey(key));
}

double CaptionAppearance::number(std::string_view key, double fallback, double least,
                                 double most) const {
    const double value = defaults_.value(key) ? defaults_.doubleForKey(key) : fallback;
    return std::isfinite(value) ? std::clamp(value, least, most) : fallback;
}

} // namespace zelvane

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
        (defaults_.boolForKey(caption_keys::kFontBold) ? kBoldFontMask : 0) |
        (defaults_.boolForKey(caption_keys::kFontItalic) ? kItalicFontMask : 0);
    const std::string family = defaults_.stringForKey(caption_keys::kFontFamily);
    const FontCatalog& catalog = FontCatalog::shared();
    const auto named = family.empty() ? std::nullopt : catalog.font(family, pointSize);
    return named.value_or(catalog.systemFont(pointSize)).havingTraits(traits);
}

std::optional<SRGBColor> CaptionAppearance::foregroundColor() const {
    return color(caption_keys::kForegroundColor);
}

double CaptionAppearance::foregroundOpacity() const {
    return number(caption_keys::kForegroundOpacity, 1, 0, 1);
}

std::optional<SRGBColor> CaptionAppearance::backgroundColor() const {
    return color(caption_keys::kBackgroundColor);
}

double CaptionAppearance::backgroundOpacity() const {
    return number(caption_keys::kBackgroundOpacity, 0, 0, 1);
}

std::int64_t CaptionAppearance::textEdgeStyle() const {
    constexpr auto kKey = caption_keys::kTextEdgeStyle;
    return defaults_.value(kKey) ? defaults_.integerForKey(kKey)
                                 : static_cast<std::int64_t>(CaptionTextEdgeStyle::dropShadow);
}

std::optional<SRGBColor> CaptionAppearance::windowColor() const {
    return color(caption_keys::kWindowColor);
}

double CaptionAppearance::windowOpacity() const {
    return number(caption_keys::kWindowOpacity, 0, 0, 1);
}

double CaptionAppearance::windowRoundedCornerRadius() const {
    return number(caption_keys::kWindowRoundedCornerRadius, 0, 0, 100);
}

double CaptionAppearance::relativeCharacterSize() const {
    return number(caption_keys::kRelativeCharacterSize, 1, 0.25, 4);
}

std::vector<std::string> CaptionAppearance::selectedLanguages() const {
    std::vector<std::string> languages;
    for (const std::string& tag : defaults_.stringsForKey(caption_keys::kLanguages)) {
        if (!tag.empty()) {
            languages.push_back(canonicalLanguageIdentifier(tag));
        }
    }
    return languages.empty() ? preferredLanguagesFromEnvironment() : languages;
}

std::vector<std::string> CaptionAppearance::preferredCaptioningCharacteristics() const {
    return defaults_.stringsForKey(caption_keys::kCaptionCharacteristics);
}

std::vector<std::string> CaptionAppearance::preferredAudibleCharacteristics() const {
    return defaults_.stringsForKey(caption_keys::kAudibleCharacteristics);
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

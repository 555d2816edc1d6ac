// SPDX-License-Identifier: GPL-3.0-or-later
#include "preferences/caption_settings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <variant>

#include <fmt/format.h>

#include "foundation/user_defaults.h"

namespace zelvane {
namespace {

constexpr std::array kAppearanceKeys{
    caption_keys::kFontFamily,
    caption_keys::kFontBold,
    caption_keys::kFontItalic,
    caption_keys::kForegroundColor,
    caption_keys::kForegroundOpacity,
    caption_keys::kBackgroundColor,
    caption_keys::kBackgroundOpacity,
    caption_keys::kTextEdgeStyle,
    caption_keys::kWindowColor,
    caption_keys::kWindowOpacity,
    caption_keys::kWindowRoundedCornerRadius,
    caption_keys::kRelativeCharacterSize,
};

} // namespace

std::string captionColorText(const SRGBColor& color) {
    const auto code = [](double component) {
        return static_cast<int>(std::lround(std::clamp(component, 0.0, 1.0) * 255));
    };
    return fmt::format("#{:02x}{:02x}{:02x}", code(color.red), code(color.green), code(color.blue));
}

std::vector<std::string> withLanguage(std::vector<std::string> languages,
                                      const std::string& language) {
    if (std::ranges::find(languages, language) == languages.end()) {
        languages.push_back(language);
    }
    return languages;
}

CaptionSettings::CaptionSettings(UserDefaults& defaults, std::function<void()> didChange)
    : defaults_(defaults), didChange_(std::move(didChange)) {}

void CaptionSettings::setColor(const CaptionColorKeys& keys, const SRGBColor& color) {
    set(keys.color, captionColorText(color));
}

void CaptionSettings::setOpacity(const CaptionColorKeys& keys, double opacity) {
    if (!defaults_.value(keys.color)) {
        defaults_.set(keys.color, captionColorText(keys.fallback));
    }
    set(keys.opacity, opacity);
}

void CaptionSettings::set(std::string_view key, const DefaultsValue& value) {
    const auto* text = std::get_if<std::string>(&value);
    const bool isEmpty = text != nullptr && text->empty();
    defaults_.set(key, isEmpty ? std::nullopt : std::optional(value));
    didChange_();
}

void CaptionSettings::setLanguages(const std::vector<std::string>& languages) {
    defaults_.set(caption_keys::kLanguages,
                  languages.empty() ? std::nullopt : std::optional<DefaultsValue>(languages));
    didChange_();
}

void CaptionSettings::setCharacteristics(std::string_view key,
                                         const std::vector<std::string_view>& names,
                                         bool areWanted) {
    std::vector<std::string> list = defaults_.stringsForKey(key);
    for (const std::string_view name : names) {
        std::erase(list, name);
        if (areWanted) {
            list.emplace_back(name);
        }
    }
    defaults_.set(key, list.empty() ? std::nullopt : std::optional<DefaultsValue>(list));
    didChange_();
}

void CaptionSettings::restoreDefaultAppearance() {
    for (const std::string_view key : kAppearanceKeys) {
        defaults_.set(key, std::nullopt);
    }
    didChange_();
}

} // namespace zelvane

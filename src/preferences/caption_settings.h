// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "media_player/decoders/subtitles/caption_appearance.h"
#include "text/string_attributes.h"

namespace zelvane {

class UserDefaults;

/// A colour of captions and its opacity, by their keys.
struct CaptionColorKeys {
    std::string_view color;
    std::string_view opacity;
    /// Shown where no colour is stored.
    SRGBColor fallback;
};

inline constexpr CaptionColorKeys kCaptionTextColor{caption_keys::kForegroundColor,
                                                    caption_keys::kForegroundOpacity, kWhiteColor};
inline constexpr CaptionColorKeys kCaptionBackgroundColor{
    caption_keys::kBackgroundColor, caption_keys::kBackgroundOpacity, kBlackColor};
inline constexpr CaptionColorKeys kCaptionWindowColor{caption_keys::kWindowColor,
                                                      caption_keys::kWindowOpacity, kBlackColor};

/// Writes the settings of captions and announces each change. Main thread.
class CaptionSettings {
  public:
    /// `didChange` is called after each change. `defaults` must outlive this.
    CaptionSettings(UserDefaults& defaults, std::function<void()> didChange);

    /// The colour without its opacity.
    void setColor(const CaptionColorKeys& keys, const SRGBColor& color);
    /// Stores a colour too where none is stored: without one, an opacity shows nothing.
    void setOpacity(const CaptionColorKeys& keys, double opacity);
    /// A bool, number or text; an empty text removes the setting.
    void set(std::string_view key, const DefaultsValue& value);
    /// An empty list returns to the languages of the system.
    void setLanguages(const std::vector<std::string>& languages);
    /// Adds or removes characteristics; others of the list stay.
    void setCharacteristics(std::string_view key, const std::vector<std::string_view>& names,
                            bool areWanted);
    /// Removes the settings of the appearance, but not those of languages and characteristics.
    void restoreDefaultAppearance();

  private:
    UserDefaults& defaults_;
    const std::function<void()> didChange_;
};

/// The form of colours in the settings: "#rrggbb".
std::string captionColorText(const SRGBColor& color);

/// The list with `language` added at the end, if it does not contain it.
std::vector<std::string> withLanguage(std::vector<std::string> languages,
                                      const std::string& language);

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/notification_center.h"
#include "foundation/user_defaults.h"
#include "text/string_attributes.h"

namespace zelvane {

/// How letters are separated from the picture. The numbers are those of the setting.
enum class CaptionTextEdgeStyle : std::int64_t {
    undefined = 0,
    none = 1,
    raised = 2,
    depressed = 3,
    uniform = 4,
    dropShadow = 5,
};

/// The keys of the settings below.
namespace caption_keys {

inline constexpr std::string_view kFontFamily = "ZLVNCaptionFontFamily";
inline constexpr std::string_view kFontBold = "ZLVNCaptionFontBold";
inline constexpr std::string_view kFontItalic = "ZLVNCaptionFontItalic";
inline constexpr std::string_view kForegroundColor = "ZLVNCaptionForegroundColor";
inline constexpr std::string_view kForegroundOpacity = "ZLVNCaptionForegroundOpacity";
inline constexpr std::string_view kBackgroundColor = "ZLVNCaptionBackgroundColor";
inline constexpr std::string_view kBackgroundOpacity = "ZLVNCaptionBackgroundOpacity";
inline constexpr std::string_view kTextEdgeStyle = "ZLVNCaptionTextEdgeStyle";
inline constexpr std::string_view kWindowColor = "ZLVNCaptionWindowColor";
inline constexpr std::string_view kWindowOpacity = "ZLVNCaptionWindowOpacity";
inline constexpr std::string_view kWindowRoundedCornerRadius =
    "ZLVNCaptionWindowRoundedCornerRadius";
inline constexpr std::string_view kRelativeCharacterSize = "ZLVNCaptionRelativeCharacterSize";
inline constexpr std::string_view kLanguages = "ZLVNCaptionLanguages";
inline constexpr std::string_view kCaptionCharacteristics = "ZLVNCaptionCharacteristics";
inline constexpr std::string_view kAudibleCharacteristics = "ZLVNAudibleCharacteristics";

} // namespace caption_keys

/// The user's settings of captions: their appearance, their languages, and the accessibility
/// characteristics of captions and sound. Each call reads the settings again. The last column is
/// for a setting that is absent or invalid:
///
/// | Key                                   | Value                       | Without it           |
/// |---------------------------------------|-----------------------------|----------------------|
/// | ZLVNCaptionFontFamily                 | a family's name             | the system's font    |
/// | ZLVNCaptionFontBold                   | boolean                     | false                |
/// | ZLVNCaptionFontItalic                 | boolean                     | false                |
/// | ZLVNCaptionForegroundColor            | "#rrggbb"                   | white                |
/// | ZLVNCaptionForegroundOpacity          | 0 to 1                      | 1                    |
/// | ZLVNCaptionBackgroundColor            | "#rrggbb"                   | none                 |
/// | ZLVNCaptionBackgroundOpacity          | 0 to 1                      | 0                    |
/// | ZLVNCaptionTextEdgeStyle              | CaptionTextEdgeStyle        | dropShadow           |
/// | ZLVNCaptionWindowColor                | "#rrggbb"                   | black                |
/// | ZLVNCaptionWindowOpacity              | 0 to 1                      | 0                    |
/// | ZLVNCaptionWindowRoundedCornerRadius  | 0 to 100, for text of 12    | 0                    |
/// | ZLVNCaptionRelativeCharacterSize      | 0.25 to 4                   | 1                    |
/// | ZLVNCaptionLanguages                  | language tags, best first   | the environment's    |
/// | ZLVNCaptionCharacteristics            | names, see below            | none                 |
/// | ZLVNAudibleCharacteristics            | names, see below            | none                 |
///
/// Without any setting captions are white with a thin dark outline and a soft shadow, which is
/// legible on any picture. Any thread.
class CaptionAppearance {
  public:
    /// Posted on the centre, with the appearance as object, when the settings have changed.
    static constexpr std::string_view kSettingsChangedNotification =
        "kMACaptionAppearanceSettingsChangedNotification";

    static constexpr std::string_view kTranscribesSpokenDialog =
        "MAMediaCharacteristicTranscribesSpokenDialogForAccessibility";
    static constexpr std::string_view kDescribesMusicAndSound =
        "MAMediaCharacteristicDescribesMusicAndSoundForAccessibility";
    static constexpr std::string_view kDescribesVideo =
        "MAMediaCharacteristicDescribesVideoForAccessibility";

    /// The appearance of the process's settings, on the shared centre.
    static CaptionAppearance& shared();

    /// Both must outlive this.
    CaptionAppearance(const UserDefaults& defaults, NotificationCenter& notificationCenter);
    CaptionAppearance(const CaptionAppearance&) = delete;
    CaptionAppearance& operator=(const CaptionAppearance&) = delete;

    /// None on a system without fonts.
    std::optional<Font> font(double pointSize) const;
    /// The colours without their opacity; none if a setting is absent or invalid.
    std::optional<SRGBColor> foregroundColor() const;
    double foregroundOpacity() const;
    std::optional<SRGBColor> backgroundColor() const;
    double backgroundOpacity() const;
    /// Any number; CaptionTextEdgeStyle lists the valid ones.
    std::int64_t textEdgeStyle() const;
    std::optional<SRGBColor> windowColor() const;
    double windowOpacity() const;
    double windowRoundedCornerRadius() const;
    double relativeCharacterSize() const;

    /// Canonical, best first.
    std::vector<std::string> selectedLanguages() const;
    std::vector<std::string> preferredCaptioningCharacteristics() const;
    std::vector<std::string> preferredAudibleCharacteristics() const;

    /// Call after writing these settings: posts the notification.
    void settingsDidChange() const;

  private:
    std::optional<SRGBColor> color(std::string_view key) const;
    double number(std::string_view key, double fallback, double least, double most) const;

    const UserDefaults& defaults_;
    NotificationCenter& notificationCenter_;
};

} // namespace zelvane

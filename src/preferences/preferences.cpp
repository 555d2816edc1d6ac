// SPDX-License-Identifier: GPL-3.0-or-later
#include "preferences/preferences.h"

#include <utility>
#include <vector>

#include "foundation/user_defaults.h"
#include "media_player/decoders/subtitles/caption_appearance.h"
#include "media_player/decoders/subtitles/subtitle_text_style_manager.h"
#include "player_window/desktop/desktop_settings.h"
#include "player_window/desktop/display_profile.h"
#include "preferences/debug_preference_pane_view_controller.h"
#include "preferences/general_preference_pane_view_controller.h"
#include "preferences/picture_preference_pane_view_controller.h"
#include "preferences/subtitles_preference_pane_view_controller.h"

namespace zelvane {
namespace {

constexpr std::string_view kShowDebugPaneKey = "ZLVNShowDebugPreferencePane";

void captionAppearanceDidChange() {
    CaptionAppearance::shared().settingsDidChange();
}

void useOfOwnTextStyleDidChange() {
    SubtitleTextStyleManager::shared()->useOfUserSpecifiedStyleDidChange();
}

} // namespace

std::unique_ptr<PreferencesWindowController> makePreferencesWindow(UserDefaults& defaults) {
    using General = GeneralPreferencePaneViewController;
    using Subtitles = SubtitlesPreferencePaneViewController;
    std::vector<std::unique_ptr<PreferencePane>> panes;
    panes.push_back(std::make_unique<General>(
        defaults, General::Environment{.useOfOwnTextStyleDidChange = useOfOwnTextStyleDidChange}));
    panes.push_back(std::make_unique<Subtitles>(
        defaults, Subtitles::Environment{captionAppearanceDidChange, useOfOwnTextStyleDidChange}));
    panes.push_back(
        std::make_unique<PicturePreferencePaneViewController>(defaults, DisplayProfile::shared()));
    if (defaults.boolForKey(kShowDebugPaneKey)) {
        panes.push_back(std::make_unique<DebugPreferencePaneViewController>(defaults));
    }
    return std::make_unique<PreferencesWindowController>(std::move(panes), defaults, [] {
        return DesktopSettings::shared().preferences().reducesMotion;
    });
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/default_settings.h"

#include <cstdint>
#include <string>

#include "foundation/user_defaults.h"
#include "media_player/decoders/subtitles/subtitle_text_style_manager.h"

namespace zelvane {

void registerDefaultSettings(UserDefaults& defaults) {
    // A file that the user opens plays at once, as in other players.
    defaults.registerDefaults({{std::string(kUseUserSpecifiedSubtitleTextStyleKey), false},
                               {"ZLVNAllowAudioSpatialization", true},
                               {"ZLVNDefaultPlaybackRate", std::int64_t{1}},
                               {"ZLVNEnterFullScreenAutomaticallyOnOpen", false},
                               {"ZLVNJumpIntervalInSeconds", 15.0},
                               {"ZLVNLogStatistics", false},
                               {"ZLVNPlayAutomaticallyOnOpen", true},
                               {"ZLVNShowDebugPreferencePane", false},
                               {"ZLVNShowEndTimeInsteadOfRemainingTime", false}});
}

} // namespace zelvane

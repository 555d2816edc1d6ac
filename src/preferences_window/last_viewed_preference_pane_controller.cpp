// SPDX-License-Identifier: GPL-3.0-or-later
#include "preferences_window/last_viewed_preference_pane_controller.h"

#include <string_view>

#include "foundation/user_defaults.h"

namespace zelvane {
namespace {

constexpr std::string_view kKey = "ZLPWLastViewedPreferencePaneIdentifier";

} // namespace

LastViewedPreferencePaneController::LastViewedPreferencePaneController(UserDefaults& defaults)
    : defaults_(defaults) {
    if (defaults_.value(kKey)) {
        lastViewedPreferencePaneIdentifier_ =
            PreferencePaneIdentifier{defaults_.stringForKey(kKey)};
    }
}

void LastViewedPreferencePaneController::setLastViewedPreferencePaneIdentifier(
    const PreferencePaneIdentifier& identifier) {
    if (lastViewedPreferencePaneIdentifier_ != identifier) {
        lastViewedPreferencePaneIdentifier_ = identifier;
        defaults_.set(kKey, identifier.rawValue);
    }
}

} // namespace zelvane

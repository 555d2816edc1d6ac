// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "preferences_window/preference_pane.h"

namespace zelvane {

class UserDefaults;

/// Remembers the selected pane in the settings. Main thread.
class LastViewedPreferencePaneController {
  public:
    /// `defaults` must outlive this.
    explicit LastViewedPreferencePaneController(UserDefaults& defaults);

    const std::optional<PreferencePaneIdentifier>& lastViewedPreferencePaneIdentifier() const {
        return lastViewedPreferencePaneIdentifier_;
    }
    void setLastViewedPreferencePaneIdentifier(const PreferencePaneIdentifier& identifier);

  private:
    UserDefaults& defaults_;
    std::optional<PreferencePaneIdentifier> lastViewedPreferencePaneIdentifier_;
};

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <utility>

#include "preferences_window/preference_pane_selection_controller.h"

namespace zelvane {

/// For a window with one pane, where the user has nothing to select.
class SingleItemPreferencePaneSelectionController final : public PreferencePaneSelectionController {
  public:
    explicit SingleItemPreferencePaneSelectionController(PreferencePaneIdentifier identifier)
        : selectedPreferencePaneIdentifier_(std::move(identifier)) {}

    const PreferencePaneIdentifier& selectedPreferencePaneIdentifier() const override {
        return selectedPreferencePaneIdentifier_;
    }
    void setSelectedPreferencePaneIdentifier(const PreferencePaneIdentifier& identifier) override {
        selectedPreferencePaneIdentifier_ = identifier;
    }
    void setDelegate(PreferencePaneSelectionControllerDelegate /*delegate*/) override {}

  private:
    PreferencePaneIdentifier selectedPreferencePaneIdentifier_;
};

} // namespace zelvane

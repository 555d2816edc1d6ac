// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include "preferences_window/preference_pane.h"

namespace zelvane {

/// Called when the user selects a pane.
using PreferencePaneSelectionControllerDelegate =
    std::function<void(const PreferencePaneIdentifier&)>;

/// Shows which pane is selected and lets the user select another one. Main thread.
class PreferencePaneSelectionController {
  public:
    virtual ~PreferencePaneSelectionController() = default;
    virtual const PreferencePaneIdentifier& selectedPreferencePaneIdentifier() const = 0;
    /// Does not call the delegate.
    virtual void
    setSelectedPreferencePaneIdentifier(const PreferencePaneIdentifier& identifier) = 0;
    virtual void setDelegate(PreferencePaneSelectionControllerDelegate delegate) = 0;
};

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <optional>
#include <vector>

#include "preferences_window/preference_pane.h"

namespace zelvane {

/// The panes of a window, which owns them. At least one; two panes with the same identifier end the
/// program.
class PreferencePaneViewControllers {
  public:
    explicit PreferencePaneViewControllers(std::vector<PreferencePane*> viewControllers);

    const std::vector<PreferencePane*>& viewControllers() const { return viewControllers_; }
    /// Null when no pane has the identifier.
    PreferencePane* viewController(const PreferencePaneIdentifier& identifier) const;
    /// The pane that was viewed last, or the first one if that pane is gone.
    const PreferencePaneIdentifier&
    initialIdentifier(const std::optional<PreferencePaneIdentifier>& lastViewed) const;

  private:
    std::vector<PreferencePane*> viewControllers_;
    std::map<PreferencePaneIdentifier, PreferencePane*> identifierToViewControllerMap_;
};

} // namespace zelvane

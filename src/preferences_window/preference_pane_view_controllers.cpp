// SPDX-License-Identifier: GPL-3.0-or-later
#include "preferences_window/preference_pane_view_controllers.h"

#include <utility>

#include "foundation/log.h"

namespace zelvane {

PreferencePaneViewControllers::PreferencePaneViewControllers(
    std::vector<PreferencePane*> viewControllers)
    : viewControllers_(std::move(viewControllers)) {
    if (viewControllers_.empty()) {
        fatalError("A preferences window has no pane.");
    }
    for (auto* pane : viewControllers_) {
        const auto& identifier = pane->preferencePaneIdentifier();
        if (!identifierToViewControllerMap_.emplace(identifier, pane).second) {
            fatalError("Two preference panes have the same identifier.");
        }
    }
}

PreferencePane*
PreferencePaneViewControllers::viewController(const PreferencePaneIdentifier& identifier) const {
    const auto found = identifierToViewControllerMap_.find(identifier);
    return found == identifierToViewControllerMap_.end() ? nullptr : found->second;
}

const PreferencePaneIdentifier& PreferencePaneViewControllers::initialIdentifier(
    const std::optional<PreferencePaneIdentifier>& lastViewed) const {
    auto* const last = lastViewed ? viewController(*lastViewed) : nullptr;
    return (last != nullptr ? last : viewControllers_.front())->preferencePaneIdentifier();
}

} // namespace zelvane

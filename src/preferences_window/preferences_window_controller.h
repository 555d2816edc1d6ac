// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "preferences_window/last_viewed_preference_pane_controller.h"
#include "preferences_window/preference_pane_selection_controller.h"
#include "preferences_window/preference_pane_view_controllers.h"

class QDialog;

namespace zelvane {

class PreferencesWindowTitleController;
class PreferencesWindowViewController;

/// A window with a toolbar of panes, or with a single pane and no toolbar. It opens with the pane
/// that was viewed last, also after a restart of the program. Closing hides it. Main thread.
class PreferencesWindowController {
  public:
    /// At least one pane, each with its own identifier. `defaults` must outlive this.
    /// `reducesMotion` is called before each change of the height.
    PreferencesWindowController(std::vector<std::unique_ptr<PreferencePane>> panes,
                                UserDefaults& defaults, std::function<bool()> reducesMotion);
    ~PreferencesWindowController();
    PreferencesWindowController(const PreferencesWindowController&) = delete;
    PreferencesWindowController& operator=(const PreferencesWindowController&) = delete;

    /// Shows the window in front of others; the first time in the middle of the screen.
    void showWindow();
    /// An unknown identifier only shows the window.
    void showPane(const PreferencePaneIdentifier& identifier);

    QDialog& window() const { return *window_; }

  private:
    void select(const PreferencePaneIdentifier& identifier);
    void selectionDidChange(const PreferencePaneIdentifier& identifier);

    const std::unique_ptr<QDialog> window_;
    const PreferencePaneViewControllers viewControllers_;
    LastViewedPreferencePaneController lastViewedPreferencePaneController_;
    std::unique_ptr<PreferencePaneSelectionController> selectionController_;
    /// Both are owned by the window.
    PreferencesWindowViewController* windowViewController_;
    PreferencesWindowTitleController* windowTitleController_;
    bool hasBeenShown_ = false;
};

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>

#include <QObject>

#include "preferences_window/preference_pane_selection_controller.h"
#include "preferences_window/preference_pane_view_controllers.h"

class QHBoxLayout;

namespace zelvane {

class ToolbarItem;

/// A row with one item for each pane, in their order; the first one is selected. Titles follow
/// those of the panes. Main thread.
class ToolbarPreferencePaneSelectionController final : public QObject,
                                                       public PreferencePaneSelectionController {
    Q_OBJECT

  public:
    /// Makes the toolbar as a child of `window`. The panes must outlive this.
    ToolbarPreferencePaneSelectionController(const PreferencePaneViewControllers& viewControllers,
                                             QWidget* window);

    QWidget* toolbar() const { return toolbar_; }
    const PreferencePaneIdentifier& selectedPreferencePaneIdentifier() const override {
        return selectedPreferencePaneIdentifier_;
    }
    void setSelectedPreferencePaneIdentifier(const PreferencePaneIdentifier& identifier) override;
    void setDelegate(PreferencePaneSelectionControllerDelegate delegate) override;

  private:
    void addItem(const PreferencePane& pane, QHBoxLayout& row);
    void performToolbarItemAction(const PreferencePaneIdentifier& identifier);

    QWidget* const toolbar_;
    std::map<PreferencePaneIdentifier, ToolbarItem*> items_;
    PreferencePaneSelectionControllerDelegate delegate_;
    PreferencePaneIdentifier selectedPreferencePaneIdentifier_;
};

} // namespace zelvane

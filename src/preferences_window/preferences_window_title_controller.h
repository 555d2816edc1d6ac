// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMetaObject>
#include <QObject>

#include "preferences_window/preference_pane_view_controllers.h"

namespace zelvane {

/// Titles the window by its selected pane, or by the program's name where the window has one pane
/// or the pane has no title. Main thread.
class PreferencesWindowTitleController final : public QObject {
    Q_OBJECT

  public:
    /// The panes must outlive this. Owned by `window`.
    PreferencesWindowTitleController(PreferencePaneViewControllers viewControllers,
                                     bool shouldUsePreferencePaneTitleForWindowTitle,
                                     QWidget* window);

    void setSelectedPreferencePaneIdentifier(const PreferencePaneIdentifier& identifier);

  private:
    void updateTitle(const QString& paneTitle);

    const PreferencePaneViewControllers viewControllers_;
    const bool shouldUsePreferencePaneTitleForWindowTitle_;
    QWidget& window_;
    QMetaObject::Connection titleObservation_;
};

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include <QScrollArea>
#include <QVariantAnimation>

#include "preferences_window/pane_resizing.h"
#include "preferences_window/preference_pane_view_controllers.h"

namespace zelvane {

/// The content of the window: one pane at a time, at the width of the widest. When another pane is
/// selected, the height changes first, and then the pane appears. Main thread.
class PreferencesWindowViewController final : public QScrollArea {
    Q_OBJECT

  public:
    /// Takes the panes as children.
    PreferencesWindowViewController(PreferencePaneViewControllers viewControllers,
                                    std::function<bool()> reducesMotion);
    ~PreferencesWindowViewController() override;
    PreferencesWindowViewController(const PreferencesWindowViewController&) = delete;
    PreferencesWindowViewController& operator=(const PreferencesWindowViewController&) = delete;

    /// Selecting another pane before the change has ended supersedes it: the first pane is never
    /// shown.
    void setVisiblePreferencePaneIdentifier(const PreferencePaneIdentifier& identifier);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void setWidth();
    PaneHeight wantedHeight() const;
    void fitToPane();
    void changeHeight(int newHeight);
    void setProgress(double progress);
    void showPane();

    const PreferencePaneViewControllers viewControllers_;
    const std::function<bool()> reducesMotion_;
    QWidget* const holder_;
    PreferencePane* visiblePane_ = nullptr;
    /// The heights of this view, and where the window's frame was.
    struct Change {
        int oldHeight = 0;
        int newHeight = 0;
        QPoint corner;
        int distanceUp = 0;
    };
    Change change_;
    QVariantAnimation animation_;
};

} // namespace zelvane

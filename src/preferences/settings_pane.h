// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string_view>
#include <vector>

#include <QString>

#include "foundation/notification_center.h"
#include "preferences_window/preference_pane.h"

class QCheckBox;

namespace zelvane {

class UserDefaults;

/// A pane that shows settings and follows their changes by other windows and programs. Main thread.
class SettingsPane : public PreferencePane {
    Q_OBJECT

  public:
    QPixmap toolbarItemImage(double size, double devicePixelRatio,
                             const QColor& tint) const override;

  protected:
    /// `symbol` is the name of a vector file. `defaults` must outlive the pane.
    SettingsPane(PreferencePaneIdentifier identifier, QString symbol, UserDefaults& defaults);

    UserDefaults& defaults() const { return defaults_; }
    /// Calls `refresh` now and after each change of a setting.
    void follow(std::function<void()> refresh);
    /// Connects the check box with a setting. `didStore` is called after the user has changed it.
    void bind(QCheckBox& checkBox, std::string_view key, std::function<void()> didStore = {});

  private:
    const QString symbol_;
    UserDefaults& defaults_;
    std::vector<std::function<void()>> refreshers_;
    NotificationObserver settingsObserver_;
};

} // namespace zelvane

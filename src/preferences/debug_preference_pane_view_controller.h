// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "preferences/settings_pane.h"

class QLabel;

namespace zelvane {

/// For reports of faults: what draws the pictures, and a switch for statistics in the log. Main
/// thread.
class DebugPreferencePaneViewController final : public SettingsPane {
    Q_OBJECT

  public:
    explicit DebugPreferencePaneViewController(UserDefaults& defaults);

  protected:
    void showEvent(QShowEvent* event) override;

  private:
    QLabel* presenter_;
};

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "preferences/settings_pane.h"

class QComboBox;

namespace zelvane {

class DisplayProfile;
class SettingsGrid;

/// How pictures are converted for the screen. Main thread.
class PicturePreferencePaneViewController final : public SettingsPane {
    Q_OBJECT

  public:
    /// `profile` is that of `defaults`. Both must outlive the pane.
    PicturePreferencePaneViewController(UserDefaults& defaults, DisplayProfile& profile);

  private:
    void addProfileRows(SettingsGrid& grid);
    void showProfiles();
    void chooseFile();
    QString profileDescription() const;

    DisplayProfile& profile_;
    QComboBox* profiles_;
};

} // namespace zelvane

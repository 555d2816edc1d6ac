// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include "preferences/settings_pane.h"

namespace zelvane {

class DiscreteSlider;
class SettingsGrid;

/// Looks for new versions of the program.
class Updater {
  public:
    virtual ~Updater() = default;
    virtual bool automaticallyChecksForUpdates() const = 0;
    virtual void setAutomaticallyChecksForUpdates(bool checks) = 0;
};

/// Stores whether spatial audio is allowed, and announces it to the players.
void setAudioSpatializationAllowed(UserDefaults& defaults, bool isAllowed);

/// What happens when a file is opened, how the keys jump, and what applies to all files. Main
/// thread.
class GeneralPreferencePaneViewController final : public SettingsPane {
    Q_OBJECT

  public:
    struct Environment {
        /// Called after the user has changed whether the own style of subtitles is used.
        std::function<void()> useOfOwnTextStyleDidChange = {};
        /// Whether sound can be rendered spatially; without it the setting is not shown.
        bool canSpatializeAudio = false;
        /// Null without updates, for example in a package of a distribution.
        Updater* updater = nullptr;
    };
    GeneralPreferencePaneViewController(UserDefaults& defaults, const Environment& environment);

  private:
    void addOpeningRows(SettingsGrid& grid);
    void addPlaybackRows(SettingsGrid& grid);
    void addSpatializationRows(SettingsGrid& grid);
    void addTextStyleRows(SettingsGrid& grid, const Environment& environment);
    void addUpdatesRow(SettingsGrid& grid, Updater& updater);
};

} // namespace zelvane

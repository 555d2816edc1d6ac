// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "media_player/decoders/subtitles/caption_appearance.h"
#include "preferences/caption_settings.h"
#include "preferences/settings_pane.h"

class QCheckBox;
class QComboBox;
class QSpinBox;

namespace zelvane {

class SettingsGrid;

/// The user's style of subtitles with a live sample, the preferred languages, and which tracks for
/// people who do not hear or see well are preferred. Main thread.
class SubtitlesPreferencePaneViewController final : public SettingsPane {
    Q_OBJECT

  public:
    struct Environment {
        /// Called after the user has changed a setting of captions.
        std::function<void()> captionAppearanceDidChange = {};
        /// Called after the user has changed whether the own style of subtitles is used.
        std::function<void()> useOfOwnTextStyleDidChange = {};
    };
    SubtitlesPreferencePaneViewController(UserDefaults& defaults, const Environment& environment);

  private:
    void addSample(SettingsGrid& grid);
    void addFontRows(SettingsGrid& grid);
    QComboBox* makeFontBox();
    QSpinBox* makeSizeField();
    QCheckBox* makeTraitBox(const QString& title, std::string_view key);
    void addEdgeRow(SettingsGrid& grid);
    using Color = std::optional<SRGBColor> (CaptionAppearance::*)() const;
    using Number = double (CaptionAppearance::*)() const;
    std::vector<QWidget*> makeColorFields(const QString& name, const CaptionColorKeys& keys,
                                          Color color, Number opacity);
    void addColorRows(SettingsGrid& grid);
    QSpinBox* makeCornerField();
    void addRestoreButton(SettingsGrid& grid);
    void addLanguageRows(SettingsGrid& grid);
    void addCharacteristic(SettingsGrid& grid, const QString& label, const QString& title,
                           std::string_view key, const std::vector<std::string_view>& names);

    const CaptionAppearance appearance_;
    CaptionSettings settings_;
};

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "preferences/general_preference_pane_view_controller.h"

#include <cmath>
#include <string>

#include <QCheckBox>
#include <QLabel>
#include <QSignalBlocker>

#include "foundation/playback_preferences.h"
#include "foundation/user_defaults.h"
#include "media_player/decoders/subtitles/subtitle_text_style_manager.h"
#include "player_window/controls/discrete_slider.h"
#include "player_window/controls/media_player_controls_view_controller.h"
#include "preferences/jump_interval_field.h"
#include "preferences/settings_grid.h"

namespace zelvane {
namespace {

constexpr std::string_view kPlayAutomaticallyKey = "ZLVNPlayAutomaticallyOnOpen";
constexpr std::string_view kFullScreenAutomaticallyKey = "ZLVNEnterFullScreenAutomaticallyOnOpen";
constexpr std::string_view kDefaultPlaybackRateKey = "ZLVNDefaultPlaybackRate";
constexpr std::string_view kJumpIntervalKey = "ZLVNJumpIntervalInSeconds";
constexpr std::string_view kAllowAudioSpatializationKey = "ZLVNAllowAudioSpatialization";
constexpr double kDefaultJumpInterval = 15;
constexpr int kRateSliderWidth = 240;

} // namespace

void setAudioSpatializationAllowed(UserDefaults& defaults, bool isAllowed) {
    defaults.set(kAllowAudioSpatializationKey, isAllowed);
    NotificationCenter::shared().post(
        {std::string(kAudioSpatializationAllowedDidChangeNotification), nullptr, {}});
}

GeneralPreferencePaneViewController::GeneralPreferencePaneViewController(
    UserDefaults& defaults, const Environment& environment)
    : SettingsPane({"general"}, QStringLiteral("general"), defaults) {
    setWindowTitle(tr("General"));
    SettingsGrid grid(*this);
    addOpeningRows(grid);
    grid.addGap();
    addPlaybackRows(grid);
    grid.addGap();
    if (environment.canSpatializeAudio) {
        addSpatializationRows(grid);
    }
    addTextStyleRows(grid, environment);
    if (environment.updater != nullptr) {
        grid.addGap();
        addUpdatesRow(grid, *environment.updater);
    }
}

void GeneralPreferencePaneViewController::addOpeningRows(SettingsGrid& grid) {
    bind(*grid.addCheckBox(tr("When opening a file:"), tr("Start &playback")),
         kPlayAutomaticallyKey);
    bind(*grid.addCheckBox({}, tr("Enter &full screen")), kFullScreenAutomaticallyKey);
}

void GeneralPreferencePaneViewController::addPlaybackRows(SettingsGrid& grid) {
    auto* slider = makePlaybackRateSlider(this);
    slider->setGround(DiscreteSlider::Ground::window);
    slider->setFixedWidth(kRateSliderWidth);
    slider->setAccessibleName(tr("Default playback rate"));
    follow([this, slider] {
        slider->setSelectedIndex(
            slider->nearestIndexOf(defaults().doubleForKey(kDefaultPlaybackRateKey)));
    });
    connect(slider, &DiscreteSlider::valueDidChange, this,
            [this](double rate) { defaults().set(kDefaultPlaybackRateKey, rate); });
    grid.addRow(tr("Default playback &rate:"), {slider});

    // The pane owns it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    auto* interval = new JumpIntervalField(kDefaultJumpInterval);
    interval->setAccessibleName(tr("Jump interval in seconds"));
    follow([this, interval] {
        const QSignalBlocker blocker(interval);
        // Setting the same value would discard what the user is typing.
        if (const double seconds = jumpInterval(defaults()); seconds != interval->value()) {
            interval->setValue(seconds);
        }
    });
    connect(interval, &QDoubleSpinBox::valueChanged, this, [this](double seconds) {
        // Without a stored value the default applies, also that of a later version.
        const bool isDefault = seconds == kDefaultJumpInterval;
        defaults().set(kJumpIntervalKey, isDefault ? std::optional<DefaultsValue>() : seconds);
    });
    // The pane owns it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    grid.addRow(tr("&Jump by:"), {interval, new QLabel(tr("seconds"))});
}

void GeneralPreferencePaneViewController::addSpatializationRows(SettingsGrid& grid) {
    auto* checkBox = grid.addCheckBox(tr("Sound:"), tr("Allow spatial &audio"));
    follow([this, checkBox] {
        checkBox->setChecked(defaults().boolForKey(kAllowAudioSpatializationKey));
    });
    connect(checkBox, &QCheckBox::clicked, this,
            [this](bool isOn) { setAudioSpatializationAllowed(defaults(), isOn); });
    grid.addDescription(tr("Places the channels of surround sound around the listener when it "
                           "plays on headphones."),
                        checkBox);
    grid.addGap();
}

void GeneralPreferencePaneViewController::addTextStyleRows(SettingsGrid& grid,
                                                           const Environment& environment) {
    auto* checkBox = grid.addCheckBox(tr("Subtitles:"), tr("Use my &style for all subtitles"));
    bind(*checkBox, kUseUserSpecifiedSubtitleTextStyleKey, environment.useOfOwnTextStyleDidChange);
    grid.addDescription(tr("Replaces the fonts and colours of files by those of the Subtitles "
                           "pane. Files still decide what is bold, italic or underlined."),
                        checkBox);
}

void GeneralPreferencePaneViewController::addUpdatesRow(SettingsGrid& grid, Updater& updater) {
    auto* checkBox = grid.addCheckBox(tr("Updates:"), tr("Check for &updates automatically"));
    checkBox->setChecked(updater.automaticallyChecksForUpdates());
    connect(checkBox, &QCheckBox::clicked, this,
            [&updater](bool isOn) { updater.setAutomaticallyChecksForUpdates(isOn); });
}

} // namespace zelvane

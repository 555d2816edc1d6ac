// SPDX-License-Identifier: GPL-3.0-or-later
#include <filesystem>
#include <fstream>

#include <QDialog>

#include <gtest/gtest.h>
#include <lcms2.h>

#include "application/default_settings.h"
#include "application/media_player_document.h"
#include "foundation/user_defaults.h"
#include "player_window/controls/control_button.h"
#include "player_window/controls/controls_view.h"
#include "player_window/desktop/display_profile.h"
#include "player_window/placebo_video_widget.h"
#include "player_window/video_widget.h"
#include "player_window/window/media_player_window.h"
#include "preferences/color_button.h"
#include "preferences/jump_interval_field.h"
#include "preferences/preferences.h"
#include "tests/player_window/window_test_support.h"
#include "tests/support/clips.h"
#include "tests/support/event_loop_queue.h"

namespace zelvane {
namespace {

/// The profile of a screen whose red and green are exchanged.
std::filesystem::path writeSwappedProfile(const std::filesystem::path& folder) {
    const cmsCIExyY white{0.3127, 0.3290, 1};
    const cmsCIExyYTRIPLE primaries{{0.300, 0.600, 1}, {0.640, 0.330, 1}, {0.150, 0.060, 1}};
    cmsToneCurve* curve = cmsBuildGamma(nullptr, 2.2);
    cmsToneCurve* const curves[] = {curve, curve, curve};
    const auto profile = cmsCreateRGBProfile(&white, &primaries, curves);
    auto path = folder / "swapped.icc";
    EXPECT_TRUE(cmsSaveProfileToFile(profile, path.c_str()));
    cmsCloseProfile(profile);
    cmsFreeToneCurve(curve);
    return path;
}

TEST(DisplayProfile, isTheChosenFileOrThatOfTheScreen) {
    using Source = DisplayProfile::Source;
    const test::EventLoopScope mainQueue;
    const test::TemporaryFolder folder;
    const std::string good = writeSwappedProfile(folder.path()).string();
    const std::string bad = (folder.path() / "bad.icc").string();
    std::ofstream(bad) << "no profile";
    UserDefaults defaults;
    const DisplayProfile profile(defaults);
    int changes = 0;
    QObject::connect(&profile, &DisplayProfile::didChange, [&] { ++changes; });
    const struct {
        std::optional<DefaultsValue> setting;
        Source source;
        bool isUnusable;
        int changes;
    } cases[] = {
        {std::nullopt, Source::assumed, false, 0},
        {good, Source::file, false, 1},
        {good, Source::file, false, 1},
        {bad, Source::assumed, true, 2},
        {folder.path().string(), Source::assumed, true, 2},
        {"/dev/zero", Source::assumed, true, 2},
        {"", Source::assumed, false, 3},
    };
    for (const auto& given : cases) {
        defaults.set(kDisplayProfileKey, given.setting);
        test::EventLoopScope::settle();
        EXPECT_EQ(profile.source(), given.source);
        EXPECT_EQ(profile.isFileUnusable(), given.isUnusable);
        EXPECT_EQ(profile.displayColor().iccProfile.empty(), given.source == Source::assumed);
        EXPECT_EQ(changes, given.changes);
    }
}

/// The settings of the process, which the windows of documents follow.
class LiveSettingsTest : public testing::Test {
  protected:
    LiveSettingsTest() {
        UserDefaults::shared().setStore(nullptr);
        registerDefaultSettings(UserDefaults::shared());
    }
    void TearDown() override {
        document_ = nullptr;
        test::EventLoopScope::settle();
        UserDefaults::shared().setStore(nullptr);
    }
    static void set(std::string_view key, const DefaultsValue& value) {
        UserDefaults::shared().set(key, value);
    }

    const test::EventLoopScope mainQueue_;
    const test::TemporaryFolder folder_;
    std::shared_ptr<MediaPlayerDocument> document_;
};

TEST_F(LiveSettingsTest, aPausedPictureFollowsTheDisplayProfile) {
    for (const bool isOnProcessor : {true, false}) {
        QWidget window;
        window.resize(64, 64);
        qputenv("ZELVANE_ALLOW_SOFTWARE_GL", "1");
        const VideoWidget video = isOnProcessor ? makeRasterVideoWidget(&window)
                                                : makeVideoWidget(&window, [] { FAIL(); });
        qunsetenv("ZELVANE_ALLOW_SOFTWARE_GL");
        EXPECT_EQ(dynamic_cast<PlaceboVideoWidget*>(video.widget) == nullptr, isOnProcessor);
        video.widget->setGeometry(window.rect());
        ASSERT_TRUE(test::showAndWait(window));
        // The layer holds it.
        const auto picture = test::fourFields(64, 64);
        ASSERT_TRUE(test::presentAndWait(*video.presenter, test::frameOf(picture)));
        const auto shows = [&](QRgb expected) {
            return test::runUntil(
                [&] { return test::isNear(test::screenshot(window).pixel(8, 8), expected, 40); });
        };
        EXPECT_TRUE(shows(test::kRed));
        set(kDisplayProfileKey, writeSwappedProfile(folder_.path()).string());
        EXPECT_TRUE(shows(test::kGreen)) << isOnProcessor;
        UserDefaults::shared().set(kDisplayProfileKey, std::nullopt);
        EXPECT_TRUE(shows(test::kRed)) << isOnProcessor;
    }
}

TEST_F(LiveSettingsTest, anOpenWindowFollowsThePreferences) {
    const auto said =
        test::madeText("said-live.srt", "1\n00:00:00,000 --> 00:01:00,000\nWWWWWWWWWWWW\n");
    const auto film = test::madeClip(
        "live.mkv", test::lavfi("color=0x404040:s=640x360:r=25:d=60") + test::inputFile(said) +
                        "-map 0 -map 1 -c:v mpeg4 -c:s srt -metadata:s:s:0 language=epo");
    set("ZLVNPlayAutomaticallyOnOpen", false);
    set("ZLVNCaptionLanguages", std::vector<std::string>{"eo"});
    MediaPlayerDocument::Handlers handlers;
    handlers.onClosed = [](bool) {};
    document_ = MediaPlayerDocument::open(URL::fromPath(film), handlers);
    const auto playerWindow = [] {
        for (auto* widget : QApplication::topLevelWidgets()) {
            if (auto* found = dynamic_cast<MediaPlayerWindow*>(widget)) {
                return found;
            }
        }
        return static_cast<MediaPlayerWindow*>(nullptr);
    };
    ASSERT_TRUE(test::runUntil([&] { return playerWindow() != nullptr; }));
    const auto preferences = makePreferencesWindow(UserDefaults::shared());
    auto& controls = *playerWindow()->findChild<ControlsView*>();

    preferences->window().findChild<JumpIntervalField*>()->setValue(42);
    EXPECT_TRUE(test::runUntil(
        [&] { return controls.jumpForwardButton().toolTip().contains("42 Seconds"); }));
    set("ZLVNShowEndTimeInsteadOfRemainingTime", true);
    EXPECT_TRUE(test::runUntil([&] { return controls.showsEndTime(); }));

    const auto hasGreenLetters = [&] {
        const QImage image = test::screenshot(*playerWindow());
        for (int x = 0; x < image.width(); ++x) {
            for (int y = 0; y < image.height(); ++y) {
                if (test::isNear(image.pixel(x, y), test::kGreen, 60)) {
                    return true;
                }
            }
        }
        return false;
    };
    set("ZLVNUseUserSpecifiedSubtitleTextStyle", true);
    emit preferences->window().findChildren<ColorButton*>()[0]->colorDidChange(Qt::green);
    EXPECT_TRUE(test::runUntil(hasGreenLetters));
}

} // namespace
} // namespace zelvane

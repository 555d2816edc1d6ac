// SPDX-License-Identifier: GPL-3.0-or-later
#include <QAccessible>
#include <QKeyEvent>

#include <gtest/gtest.h>

#include "player_window/controls/control_button.h"
#include "player_window/controls/controls_view.h"
#include "player_window/controls/floating_controls_visibility_controller.h"
#include "player_window/controls/scrubber.h"
#include "player_window/controls/spoken_time.h"
#include "player_window/controls/volume_slider.h"
#include "player_window/views/audio_player_view.h"
#include "player_window/views/floating_controls.h"
#include "player_window/window/media_player_window.h"
#include "tests/player_window/window_test_support.h"

namespace zelvane {
namespace {

struct PlayerWindow {
    PlayerWindow() {
        auto* content = std::make_unique<AudioPlayerView>(controls, &window).release();
        window.setContentView(content);
        window.resize(611, 132);
    }
    MediaPlayerWindow window{TitleBar::Ground::plain, /*isResizable=*/true};
    ControlsView* controls =
        std::make_unique<ControlsView>(100, ControlsContent{}, nullptr).release();
};

QAccessibleInterface& accessible(QWidget& widget) {
    return *QAccessible::queryAccessibleInterface(static_cast<QObject*>(&widget));
}

void press(QWidget& widget, int key) {
    QKeyEvent down(QEvent::KeyPress, key, Qt::NoModifier);
    QCoreApplication::sendEvent(&widget, &down);
    QKeyEvent up(QEvent::KeyRelease, key, Qt::NoModifier);
    QCoreApplication::sendEvent(&widget, &up);
}

/// The names of all controls below this object, in the order of the tree.
void collectControls(QAccessibleInterface& object, QStringList& names) {
    for (int index = 0; index < object.childCount(); ++index) {
        QAccessibleInterface& child = *object.child(index);
        if (child.role() == QAccessible::Button || child.role() == QAccessible::Slider) {
            names << child.text(QAccessible::Name);
            EXPECT_FALSE(child.text(QAccessible::Description).isEmpty())
                << names.back().toStdString();
            EXPECT_TRUE(child.state().focusable) << names.back().toStdString();
        }
        collectControls(child, names);
    }
}

TEST(Accessibility, theTabKeyReachesEveryControlInTheirVisibleOrder) {
    PlayerWindow player;
    ASSERT_TRUE(test::showAndWait(player.window));
    EXPECT_EQ(accessible(player.window).role(), QAccessible::Window);
    const QStringList expected{"Mute",
                               "Volume",
                               "Jump Back 15 Seconds",
                               "Play",
                               "Jump Forward 15 Seconds",
                               "Tracks",
                               "Enter Full Screen",
                               "Scrubber",
                               "-01:40",
                               "Menu",
                               "Minimize",
                               "Enter Full Screen",
                               "Close"};
    QStringList names;
    collectControls(accessible(player.window), names);
    QStringList reached;
    player.window.setFocus();
    for (qsizetype count = 0; count < expected.size(); ++count) {
        press(*player.window.focusWidget(), Qt::Key_Tab);
        reached << accessible(*player.window.focusWidget()).text(QAccessible::Name);
    }
    EXPECT_EQ(reached, expected);
    names.sort();
    reached.sort();
    EXPECT_EQ(names, reached);
}

TEST(Accessibility, slidersAreReadAndChangedAsTheUserWould) {
    PlayerWindow player;
    Scrubber& scrubber = player.controls->scrubber();
    scrubber.setAccessibilityValueFormatter(spokenTime);
    scrubber.setValue(60);
    double wanted = 0;
    QObject::connect(&scrubber, &Scrubber::valueDidChange, [&](double value) { wanted = value; });
    QAccessibleInterface& slider = accessible(scrubber);
    EXPECT_EQ(slider.text(QAccessible::Description), "1 minute");
    slider.actionInterface()->doAction(QAccessibleActionInterface::increaseAction());
    EXPECT_DOUBLE_EQ(wanted, 65);
    slider.actionInterface()->doAction(QAccessibleActionInterface::decreaseAction());
    EXPECT_DOUBLE_EQ(wanted, 60);
    slider.valueInterface()->setCurrentValue(1e9);
    EXPECT_DOUBLE_EQ(slider.valueInterface()->currentValue().toDouble(), 100);
    slider.valueInterface()->setCurrentValue("no number");
    EXPECT_DOUBLE_EQ(wanted, 100);
    scrubber.setRange(0, 0);
    slider.valueInterface()->setCurrentValue(1);
    EXPECT_DOUBLE_EQ(wanted, 100);

    VolumeSlider& volume = player.controls->volumeSlider();
    accessible(volume).valueInterface()->setCurrentValue(30);
    EXPECT_DOUBLE_EQ(volume.volume(), 0.3);
    EXPECT_EQ(accessible(volume).text(QAccessible::Description), "30 %");
}

TEST(Accessibility, controlsArePressedByKeysAndActions) {
    PlayerWindow player;
    int plays = 0;
    int toggles = 0;
    ControlButton& play = player.controls->playPauseButton();
    QObject::connect(&play, &ControlButton::clicked, [&] { ++plays; });
    QObject::connect(player.controls, &ControlsView::endTimeLabelClicked, [&] { ++toggles; });
    auto* label = play.nextInFocusChain();
    while (accessible(*label).text(QAccessible::Name) != "-01:40") {
        label = label->nextInFocusChain();
    }
    press(play, Qt::Key_Return);
    press(play, Qt::Key_Space);
    EXPECT_EQ(plays, 2);
    press(*label, Qt::Key_Space);
    accessible(*label).actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(toggles, 2);
}

TEST(SpokenTime, leavesOutUnitsThatAreZero) {
    const struct {
        double seconds;
        const char* text;
    } cases[] = {{0, "0 seconds"},
                 {-3, "0 seconds"},
                 {1.9, "1 second"},
                 {60, "1 minute"},
                 {3605, "1 hour, 5 seconds"},
                 {7384, "2 hours, 3 minutes, 4 seconds"},
                 {NAN, "0 seconds"},
                 {1e300, "596523 hours, 14 minutes, 7 seconds"}};
    for (const auto& given : cases) {
        EXPECT_EQ(spokenTime(given.seconds), given.text);
    }
}

} // namespace
} // namespace zelvane

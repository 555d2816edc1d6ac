// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/controls_visibility.h"

#include <functional>
#include <string>

#include <gtest/gtest.h>

namespace zelvane {
namespace {

using Timer = ControlsVisibility::Timer;
using Actions = ControlsVisibility::Actions;
using Window = ControlsVisibility::Window;

/// Carries out a time line of events and returns the actions of the last one: s start, x stop,
/// e/E enter, m/M move (capitals: on the controls), l leave, b begin, n/N end of interaction,
/// t timer.
Actions after(const std::string& events, ControlsVisibility& controls, const Window& window = {}) {
    Actions actions;
    for (const char event : events) {
        switch (event) {
        case 's':
            actions = controls.start(false);
            break;
        case 'x':
            actions = controls.stop();
            break;
        case 'e':
            actions = controls.pointerEntered(false);
            break;
        case 'E':
            actions = controls.pointerEntered(true);
            break;
        case 'm':
            actions = controls.pointerMoved(false);
            break;
        case 'M':
            actions = controls.pointerMoved(true);
            break;
        case 'l':
            actions = controls.pointerLeft();
            break;
        case 'b':
            actions = controls.beginInteraction();
            break;
        case 'n':
            actions = controls.endInteraction(false);
            break;
        case 'N':
            actions = controls.endInteraction(true);
            break;
        case 't':
            actions = controls.timerFired(window);
            break;
        default:
            ADD_FAILURE() << event;
        }
    }
    return actions;
}

TEST(ControlsVisibility, showsAndHides) {
    const struct {
        const char* events;
        Actions last;
        bool isVisible;
    } cases[] = {
        {"s", {std::nullopt, Timer::restart}, true},
        {"st", {false, Timer::cancel}, false},
        {"stm", {true, Timer::restart}, true},
        {"stM", {true, Timer::cancel}, true},
        {"sm", {std::nullopt, Timer::restart}, true},
        {"ste", {true, Timer::restart}, true},
        {"sE", {true, Timer::cancel}, true},
        {"sl", {false, Timer::cancel}, false},
        {"sMm", {true, Timer::restart}, true},
        {"sb", {true, Timer::cancel}, true},
        {"stb", {true, Timer::cancel}, true},
        {"sbm", {}, true},
        {"sbe", {}, true},
        {"sbl", {}, true},
        {"sbn", {std::nullopt, Timer::restart}, true},
        {"sbN", {std::nullopt, Timer::cancel}, true},
        {"sbnt", {false, Timer::cancel}, false},
        {"sx", {std::nullopt, Timer::cancel}, true},
    };
    for (const auto& given : cases) {
        ControlsVisibility controls;
        const Actions last = after(given.events, controls);
        EXPECT_EQ(last.shows, given.last.shows) << given.events;
        EXPECT_EQ(last.timer, given.last.timer) << given.events;
        EXPECT_EQ(controls.areControlsVisible(), given.isVisible) << given.events;
        EXPECT_EQ(controls.hidesPointer(), !given.isVisible) << given.events;
    }
}

TEST(ControlsVisibility, aPointerInAUsableTitleBarKeepsTheControls) {
    const struct {
        Window window;
        bool hides;
    } cases[] = {
        {{.isPointerInTitleBar = true}, false},
        {{.exists = false, .isPointerInTitleBar = true}, true},
        {{.isOnActiveWorkspace = false, .isPointerInTitleBar = true}, true},
        {{.isMinimized = true, .isPointerInTitleBar = true}, true},
        {{.isFullScreen = true, .isPointerInTitleBar = true}, true},
        {{.hasTitleBar = false, .isPointerInTitleBar = true}, true},
    };
    for (const auto& given : cases) {
        ControlsVisibility controls;
        after("st", controls, given.window);
        EXPECT_EQ(controls.areControlsVisible(), !given.hides);
    }
    ControlsVisibility controls;
    EXPECT_EQ(after("stm", controls, {.isPointerInTitleBar = true}),
              (Actions{true, Timer::restart}));
}

TEST(ControlsVisibility, aHiddenWindowDoesNotStartTheTimer) {
    ControlsVisibility controls;
    EXPECT_EQ(controls.start(std::nullopt), Actions{});
    controls.beginInteraction();
    EXPECT_EQ(controls.endInteraction(std::nullopt), Actions{});
}

} // namespace
} // namespace zelvane

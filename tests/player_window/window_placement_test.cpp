// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/window/window_placement.h"

#include <gtest/gtest.h>

namespace zelvane {
namespace {

TEST(WindowPlacement, hasAFrameThatAWindowCanHave) {
    const WindowPlacement placement{{-20, 30, 640, 360}, true, false};
    StateCoder coder;
    encodePlacement(placement, coder);
    EXPECT_EQ(decodePlacement(coder), placement);
    for (const char* frame :
         {"7", R"({"x":0,"y":0,"width":640})", R"({"x":0,"y":0,"width":0,"height":9})",
          R"({"x":99999,"y":0,"width":9,"height":9})"}) {
        const auto data = std::string(R"({"zelvane.MediaPlayerWindow.frame":)") + frame + "}";
        EXPECT_FALSE(decodePlacement(StateCoder::fromData(data).state)) << frame;
    }
}

TEST(WindowPlacement, needsItsTitleBarInAWorkArea) {
    const CGRect left{0, 24, 1280, 776};
    const CGRect right{1280, 0, 1920, 1080};
    const std::pair<CGRect, std::optional<CGRect>> cases[] = {
        {{-300, 700, 640, 360}, left},         {{1000, 100, 640, 360}, right},
        {{-330, 100, 640, 360}, std::nullopt}, {{100, -10, 640, 360}, std::nullopt},
        {{100, 790, 640, 360}, std::nullopt},
    };
    for (const auto& [frame, area] : cases) {
        EXPECT_EQ(workAreaOfTitleBar(frame, {left, right}), area) << frame.x << ", " << frame.y;
    }
}

} // namespace
} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/graphics_device.h"

#include <fstream>

#include <gtest/gtest.h>

#include "tests/support/clips.h"

namespace zelvane {
namespace {

struct DeviceCase {
    const char* node;
    bool draws;
};

TEST(GraphicsDevice, isARenderNodeOrADriversOwnDevice) {
    const DeviceCase cases[] = {
        {"dri/renderD128", true}, {"dri/card0", false}, {"nvidiactl", true}, {"dxg", true},
        {"null", false},
    };
    for (const auto& [node, draws] : cases) {
        const test::TemporaryFolder folder;
        std::filesystem::create_directories((folder.path() / node).parent_path());
        std::ofstream(folder.path() / node) << "";
        EXPECT_EQ(hasGraphicsDevice(folder.path()), draws) << node;
    }
    EXPECT_FALSE(hasGraphicsDevice("/nowhere/at/all"));
}

} // namespace
} // namespace zelvane

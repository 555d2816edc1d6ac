// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/graphics_device.h"

#include <algorithm>
#include <array>

namespace zelvane {
namespace {

namespace fs = std::filesystem;

bool hasRenderNode(const fs::path& folder) {
    std::error_code unreadable;
    const fs::directory_iterator nodes(folder, unreadable);
    return std::any_of(begin(nodes), end(nodes), [](const fs::directory_entry& node) {
        return node.path().filename().string().rfind("renderD", 0) == 0;
    });
}

} // namespace

bool hasGraphicsDevice(const fs::path& deviceFolder) {
    // Drivers without a render node: NVIDIA's own, that of WSL, and two of phones.
    constexpr std::array kOtherDevices{"nvidiactl", "dxg", "mali0", "kgsl-3d0"};
    return hasRenderNode(deviceFolder / "dri") ||
           std::any_of(kOtherDevices.begin(), kOtherDevices.end(), [&](const char* name) {
               std::error_code unreadable;
               return fs::exists(deviceFolder / name, unreadable);
           });
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

namespace zelvane {

/// Whether the machine has a GPU, from the device folder. Making an OpenGL context to find out
/// costs tens of megabytes for a software renderer on a machine without one.
bool hasGraphicsDevice(const std::filesystem::path& deviceFolder = "/dev");

} // namespace zelvane

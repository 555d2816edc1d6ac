// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

namespace zelvane {

/// Whether the machine has a device that draws: one look at the device folder, where making an
/// OpenGL context to find out costs tens of megabytes of software renderer on a machine without
/// one.
bool hasGraphicsDevice(const std::filesystem::path& deviceFolder = "/dev");

} // namespace zelvane

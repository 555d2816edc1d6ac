// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

namespace zelvane {

// Posted on the workspace's centre, which belongs to the application; on an arbitrary thread. An
// observer has reacted when post() returns.

/// Before the machine sleeps.
inline constexpr std::string_view kWorkspaceWillSleepNotification =
    "NSWorkspaceWillSleepNotification";
/// Before the machine is shut down or restarted.
inline constexpr std::string_view kWorkspaceWillPowerOffNotification =
    "NSWorkspaceWillPowerOffNotification";
/// When another user's session becomes active, or this one is locked.
inline constexpr std::string_view kWorkspaceSessionDidResignActiveNotification =
    "NSWorkspaceSessionDidResignActiveNotification";

} // namespace zelvane

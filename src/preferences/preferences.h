// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "preferences_window/preferences_window_controller.h"

namespace zelvane {

class UserDefaults;

/// The preferences window of the program, not shown yet. `defaults` must outlive it. Changes take
/// effect at once in all windows. Main thread.
std::unique_ptr<PreferencesWindowController> makePreferencesWindow(UserDefaults& defaults);

} // namespace zelvane

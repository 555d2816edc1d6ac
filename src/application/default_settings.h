// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

class UserDefaults;

/// Registers the values of all settings that the user has not stored. The settings of captions are
/// not among them: their absence has a meaning of its own (CaptionAppearance).
void registerDefaultSettings(UserDefaults& defaults);

} // namespace zelvane

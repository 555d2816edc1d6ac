// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

namespace zelvane {

/// Posted on the shared centre when the setting that allows spatial audio has another value.
inline constexpr std::string_view kAudioSpatializationAllowedDidChangeNotification =
    "zelvane.PlaybackPreferences.audioSpatializationAllowedDidChangeNotification";

} // namespace zelvane

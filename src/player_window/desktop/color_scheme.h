// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPalette>

namespace zelvane {

/// Whether the user wants light or dark windows. The numbers are those of the desktop's portal.
enum class ColorScheme { noPreference = 0, dark = 1, light = 2 };

/// The palette of windows for a scheme, where the toolkit's own is `own`: its own one if that has
/// the scheme or the user has no preference.
QPalette paletteForScheme(ColorScheme scheme, const QPalette& own);

/// Gives the windows of the application the colour scheme of the desktop, now and after changes.
/// Call it once after the application object is made. Main thread.
void followColorScheme();

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>
#include <vector>

namespace zelvane {

enum class WindowButton { minimize, fullScreen, close };

/// The window's buttons at both ends of a title bar, from left to right.
struct ButtonLayout {
    std::vector<WindowButton> left;
    std::vector<WindowButton> right = {WindowButton::minimize, WindowButton::fullScreen,
                                       WindowButton::close};
    friend bool operator==(const ButtonLayout&, const ButtonLayout&) = default;
};

/// Reads the desktop's setting, as in "close,minimize,maximize:" or "appmenu:close". Its maximise
/// button is our full-screen button. Unknown and repeated names are left out. A layout without a
/// close button is the default one: a window without a frame has no other.
ButtonLayout parseButtonLayout(std::string_view setting);

/// What a click on the title bar does, by the desktop's settings.
enum class TitleClickAction { none, toggleMaximized, minimize, lower, menu };

/// Reads "toggle-maximize", "minimize", "lower", "menu", "none" and their kin.
TitleClickAction parseTitleClickAction(std::string_view setting);

} // namespace zelvane

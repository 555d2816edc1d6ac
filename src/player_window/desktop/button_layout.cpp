// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/desktop/button_layout.h"

#include <algorithm>
#include <optional>

namespace zelvane {
namespace {

std::optional<WindowButton> buttonNamed(std::string_view name) {
    if (name == "minimize") {
        return WindowButton::minimize;
    }
    if (name == "maximize") {
        return WindowButton::fullScreen;
    }
    return name == "close" ? std::optional(WindowButton::close) : std::nullopt;
}

bool contains(const std::vector<WindowButton>& buttons, WindowButton button) {
    return std::ranges::find(buttons, button) != buttons.end();
}

} // namespace

ButtonLayout parseButtonLayout(std::string_view setting) {
    ButtonLayout layout{{}, {}};
    auto* side = &layout.left;
    while (!setting.empty()) {
        const auto end = setting.find_first_of(",:");
        const auto button = buttonNamed(setting.substr(0, end));
        if (button && !contains(layout.left, *button) && !contains(layout.right, *button)) {
            side->push_back(*button);
        }
        if (end == std::string_view::npos) {
            break;
        }
        side = setting[end] == ':' ? &layout.right : side;
        setting.remove_prefix(end + 1);
    }
    const bool canClose =
        contains(layout.left, WindowButton::close) || contains(layout.right, WindowButton::close);
    return canClose ? layout : ButtonLayout{};
}

TitleClickAction parseTitleClickAction(std::string_view setting) {
    if (setting.starts_with("toggle-maximize")) {
        return TitleClickAction::toggleMaximized;
    }
    if (setting == "minimize") {
        return TitleClickAction::minimize;
    }
    if (setting == "lower") {
        return TitleClickAction::lower;
    }
    return setting == "menu" ? TitleClickAction::menu : TitleClickAction::none;
}

} // namespace zelvane

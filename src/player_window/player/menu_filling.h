// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <vector>

#include "player_window/player/player_menu.h"

class QMenu;

namespace zelvane {

/// Whether the menu is drawn by this program, or by the desktop, which cannot show widgets in it.
enum class MenuHost { program, desktop };

/// Adds the entries to a menu, which calls `choose` with the command of a chosen item. The keys are
/// only shown. Main thread.
void fillMenu(QMenu& menu, const std::vector<MenuEntry>& entries,
              const std::function<void(const MenuCommand&)>& choose,
              MenuHost host = MenuHost::program);

} // namespace zelvane

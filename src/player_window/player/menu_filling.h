// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <vector>

#include "player_window/player/player_menu.h"

class QMenu;

namespace zelvane {

/// Adds the entries to a menu, which calls `choose` with the command of a chosen item. Main thread.
void fillMenu(QMenu& menu, const std::vector<MenuEntry>& entries,
              const std::function<void(const MenuCommand&)>& choose);

} // namespace zelvane

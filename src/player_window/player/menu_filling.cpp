// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/player/menu_filling.h"

#include <QAction>
#include <QMenu>

#include "player_window/controls/control_colors.h"

namespace zelvane {
namespace {

/// The titles of tracks may contain the character that marks a mnemonic.
QString literal(QString title) {
    return title.replace('&', QStringLiteral("&&"));
}

} // namespace

void fillMenu(QMenu& menu, const std::vector<MenuEntry>& entries,
              const std::function<void(const MenuCommand&)>& choose) {
    menu.setPalette(control_colors::menuPalette());
    for (const MenuEntry& entry : entries) {
        if (entry.title.isEmpty()) {
            menu.addSeparator();
            continue;
        }
        if (!entry.children.empty()) {
            fillMenu(*menu.addMenu(literal(entry.title)), entry.children, choose);
            continue;
        }
        QAction* action = menu.addAction(literal(entry.title));
        action->setShortcut(entry.key);
        action->setShortcutVisibleInContextMenu(true);
        action->setEnabled(entry.isEnabled);
        action->setCheckable(entry.isCheckable);
        action->setChecked(entry.isChecked);
        QObject::connect(action, &QAction::triggered,
                         [choose, command = entry.command] { choose(command); });
    }
}

} // namespace zelvane

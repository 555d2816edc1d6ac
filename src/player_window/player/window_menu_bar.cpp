// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/player/window_menu_bar.h"

#include <utility>

#include <QMenu>
#include <QMenuBar>

#include "player_window/desktop/global_menu.h"
#include "player_window/player/menu_filling.h"

namespace zelvane {

WindowMenuBar::WindowMenuBar(QWidget& window, MakeMenus makeMenus, Choose choose)
    : window_(window), makeMenus_(std::move(makeMenus)), choose_(std::move(choose)) {
    const GlobalMenu& global = GlobalMenu::shared();
    if (global.isAvailable()) {
        makeBar();
    } else {
        connect(&global, &GlobalMenu::didBecomeAvailable, this, &WindowMenuBar::makeBar);
    }
}

void WindowMenuBar::makeBar() {
    // The window owns it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    bar_ = new QMenuBar(&window_);
    if (!bar_->isNativeMenuBar()) {
        delete std::exchange(bar_, nullptr); // NOLINT(cppcoreguidelines-owning-memory)
        return;
    }
    const auto menus = makeMenus_();
    for (std::size_t i = 0; i < menus.size(); ++i) {
        QMenu* menu = bar_->addMenu(menus[i].title);
        fillMenu(*menu, menus[i].children, choose_, MenuHost::desktop);
        connect(menu, &QMenu::aboutToShow, this, [this, menu, i] { fill(*menu, i); });
    }
}

void WindowMenuBar::fill(QMenu& menu, std::size_t index) const {
    menu.clear();
    fillMenu(menu, makeMenus_().at(index).children, choose_, MenuHost::desktop);
}

} // namespace zelvane

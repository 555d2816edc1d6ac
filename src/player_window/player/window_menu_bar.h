// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <vector>

#include <QObject>

#include "player_window/player/player_menu.h"

class QMenu;
class QMenuBar;
class QWidget;

namespace zelvane {

/// The menu bar of a window where the desktop shows menu bars itself. Elsewhere the window has
/// none: it would cover the picture. Each menu is made again when it opens. Main thread.
class WindowMenuBar final : public QObject {
  public:
    using MakeMenus = std::function<std::vector<MenuEntry>()>;
    using Choose = std::function<void(const MenuCommand&)>;

    /// `window` has been shown and must outlive this.
    WindowMenuBar(QWidget& window, MakeMenus makeMenus, Choose choose);

  private:
    void makeBar();
    void fill(QMenu& menu, std::size_t index) const;

    QWidget& window_;
    const MakeMenus makeMenus_;
    const Choose choose_;
    QMenuBar* bar_ = nullptr;
};

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/start/start_window.h"

#include <utility>

#include <QDialog>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>

#include "player_window/controls/control_button.h"
#include "player_window/player/menu_filling.h"
#include "player_window/player/window_menu_bar.h"
#include "player_window/start/primary_button.h"
#include "player_window/start/start_view.h"
#include "player_window/window/media_player_window.h"
#include "player_window/window/shortcuts_window.h"

namespace zelvane {

// The window owns the view. NOLINTBEGIN(cppcoreguidelines-owning-memory)
StartWindow::StartWindow(std::function<ApplicationMenuState()> menuState)
    : menuState_(std::move(menuState)),
      window_(std::make_unique<MediaPlayerWindow>(TitleBar::Ground::plain, false)),
      view_(new StartView(window_.get())) {
    const QString title = QGuiApplication::applicationDisplayName();
    window_->setWindowTitle(title);
    window_->titleBar().setTitle(title);
    window_->setContentView(view_);
    setRecentFiles({});
    connectWindow();
    connect(view_, &StartView::openRequested, this,
            [this] { emit commandRequested(PlayerAction::openFile); });
    connect(view_, &StartView::filesChosen, this, &StartWindow::filesChosen);
    connect(view_, &StartView::removeRequested, this, &StartWindow::removeRequested);
}
// NOLINTEND(cppcoreguidelines-owning-memory)

StartWindow::~StartWindow() = default;

void StartWindow::connectWindow() {
    MediaPlayerWindow* window = window_.get();
    connect(window, &MediaPlayerWindow::didClose, this, &StartWindow::closed);
    connect(window, &MediaPlayerWindow::keyPressed, this, &StartWindow::pressKey);
    connect(window, &MediaPlayerWindow::menuRequested, this, &StartWindow::showMenu);
    ControlButton& menu = window->titleBar().menuButton();
    connect(&menu, &ControlButton::clicked, this,
            [this, &menu] { showMenu(menu.mapToGlobal(QPoint(0, menu.height()))); });
}

void StartWindow::setRecentFiles(const std::vector<URL>& files) {
    view_->setRecentFiles(files);
    window_->setContentSizes(view_->fittingSize(), view_->fittingSize());
}

void StartWindow::show() {
    window_->showCentred();
    window_->activateWindow();
    view_->openButton().setFocus(Qt::OtherFocusReason);
    menuBar_ = std::make_unique<WindowMenuBar>(
        *window_, [this] { return menuBar(nullptr, menuState_()); },
        [this](const MenuCommand& command) { perform(command); });
}

void StartWindow::pressKey(QKeyEvent* event) {
    const auto action = playerActionFor(event->key(), event->modifiers());
    event->setAccepted(action.has_value());
    if (action && !event->isAutoRepeat()) {
        perform(*action);
    }
}

void StartWindow::perform(const MenuCommand& command) {
    const auto* action = std::get_if<PlayerAction>(&command);
    if (action == nullptr || !performInWindow(*action)) {
        emit commandRequested(command);
    }
}

bool StartWindow::performInWindow(PlayerAction action) {
    switch (action) {
    case PlayerAction::closeWindow:
        window_->close();
        return true;
    case PlayerAction::minimizeWindow:
        window_->showMinimized();
        return true;
    case PlayerAction::showKeys:
        showShortcuts();
        return true;
    default:
        return false;
    }
}

void StartWindow::showMenu(const QPoint& globalPosition) {
    // The window owns the menu. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    auto* menu = new QMenu(window_.get());
    fillMenu(*menu, startMenu(menuState_()),
             [this](const MenuCommand& command) { perform(command); });
    connect(menu, &QMenu::aboutToHide, menu, &QObject::deleteLater);
    menu->popup(globalPosition);
}

void StartWindow::showShortcuts() {
    if (!shortcutsWindow_) {
        shortcutsWindow_ = makeShortcutsWindow(window_.get());
    }
    shortcutsWindow_->show();
    shortcutsWindow_->raise();
    shortcutsWindow_->activateWindow();
}

} // namespace zelvane

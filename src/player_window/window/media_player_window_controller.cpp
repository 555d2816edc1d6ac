// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/window/media_player_window_controller.h"

#include <utility>

#include <QApplication>
#include <QDialog>
#include <QKeyEvent>
#include <QWheelEvent>

#include "foundation/user_defaults.h"
#include "foundation/window_restoration_observer.h"
#include "player_window/controls/control_button.h"
#include "player_window/controls/volume_slider.h"
#include "player_window/notice_widget.h"
#include "player_window/picture_view.h"
#include "player_window/player/media_player_view_controller.h"
#include "player_window/player/player_tracks.h"
#include "player_window/player/window_menu_bar.h"
#include "player_window/window/media_player_window.h"
#include "player_window/window/shortcuts_window.h"

namespace zelvane {
namespace {

constexpr std::string_view kEnterFullScreenAutomaticallyOnOpenKey =
    "ZLVNEnterFullScreenAutomaticallyOnOpen";

std::unique_ptr<MediaPlayerWindow> makeWindow(const PlayableSource& source) {
    const bool hasVideo = !source.videoTracks().empty();
    auto window = std::make_unique<MediaPlayerWindow>(
        hasVideo ? TitleBar::Ground::overPicture : TitleBar::Ground::plain, hasVideo);
    window->setWindowTitle(titleOf(source));
    window->titleBar().setTitle(titleOf(source));
    return window;
}

} // namespace

MediaPlayerWindowController::MediaPlayerWindowController(std::shared_ptr<MediaPlayer> mediaPlayer,
                                                         const SubtitlesViews& subtitlesViews,
                                                         UserDefaults& defaults,
                                                         Callbacks callbacks)
    : mediaPlayer_(std::move(mediaPlayer)), defaults_(defaults), callbacks_(std::move(callbacks)),
      window_(makeWindow(*mediaPlayer_->mediaSource())),
      viewController_(std::make_unique<MediaPlayerViewController>(mediaPlayer_, subtitlesViews,
                                                                  defaults_, *window_)) {
    window_->setContentView(&viewController_->view());
    viewController_->setTitleBar(&window_->titleBar());
    connectContent();
    connectWindow();
    updateSizes();
}

MediaPlayerWindowController::~MediaPlayerWindowController() = default;

void MediaPlayerWindowController::connectContent() {
    using Content = MediaPlayerViewController;
    Content* content = viewController_.get();
    connect(content, &Content::preferredSizeDidChange, this,
            &MediaPlayerWindowController::adaptToPreferredSize);
    connect(content, &Content::controlsVisibilityDidChange, this,
            [this](bool areVisible) { window_->titleBar().setShown(areVisible); });
    connect(content, &Content::fullScreenRequested, window_.get(),
            &MediaPlayerWindow::toggleFullScreen);
    connect(content, &Content::noticeRequested, this, &MediaPlayerWindowController::showNotice);
    connect(content, &Content::commandRequested, this, &MediaPlayerWindowController::perform);
    connect(content, &Content::mediaDropped, this, [this](const std::vector<URL>& urls) {
        if (callbacks_.onOpenMedia) {
            callbacks_.onOpenMedia(urls);
        }
    });
    connect(content, &Content::restorableStateWasInvalidated, this,
            &MediaPlayerWindowController::invalidateRestorableState);
}

void MediaPlayerWindowController::invalidateRestorableState() {
    if (callbacks_.onInvalidateRestorableState) {
        callbacks_.onInvalidateRestorableState();
    }
}

void MediaPlayerWindowController::connectWindow() {
    MediaPlayerWindow* window = window_.get();
    if (const auto* picture = pictureView()) {
        connect(picture, &PictureView::didReplacePresenter, window, &MediaPlayerWindow::recreate);
    }
    connect(window, &MediaPlayerWindow::didClose, this, [this] {
        viewController_->viewWillDisappear();
        if (const auto onClose = std::exchange(callbacks_.onClose, nullptr)) {
            onClose();
        }
    });
    connect(window, &MediaPlayerWindow::fullScreenDidChange, viewController_.get(),
            &MediaPlayerViewController::setFullScreen);
    connect(window, &MediaPlayerWindow::placementDidChange, this,
            &MediaPlayerWindowController::invalidateRestorableState);
    connect(window, &MediaPlayerWindow::keyPressed, this, &MediaPlayerWindowController::pressKey);
    connect(window, &MediaPlayerWindow::wheelTurned, this, &MediaPlayerWindowController::turnWheel);
    connect(window, &MediaPlayerWindow::menuRequested, this,
            &MediaPlayerWindowController::showMenu);
    ControlButton& menu = window->titleBar().menuButton();
    connect(&menu, &ControlButton::clicked, this,
            [this, &menu] { showMenu(menu.mapToGlobal(QPoint(0, menu.height()))); });
}

void MediaPlayerWindowController::adaptToPreferredSize() {
    // The first selection of a track can be reported after the window has its restored size.
    if (viewController_->preferredSize() != preferredSize_) {
        updateSizes();
        window_->adaptToPreferredSize();
    }
}

void MediaPlayerWindowController::updateSizes() {
    preferredSize_ = viewController_->preferredSize();
    window_->setContentSizes(viewController_->minimumSize(), preferredSize_);
}

PictureView* MediaPlayerWindowController::pictureView() const {
    return viewController_->pictureView();
}

void MediaPlayerWindowController::show() {
    if (restoredPlacement_) {
        window_->showAt(*restoredPlacement_);
    } else {
        window_->showCentred();
    }
    // Else the first button gets the focus, and Space presses it.
    window_->setFocus();
    viewController_->viewDidAppear();
    makeMenuBar();
    WindowRestorationObserver::shared().performAfterRestoration([self = QPointer(this)] {
        if (self && std::exchange(self->isFirstAppearance_, false)) {
            self->enterFullScreenAutomatically();
        }
    });
}

void MediaPlayerWindowController::enterFullScreenAutomatically() {
    if (!viewController_->isRestoredFromPersistedState() && !window_->isFullScreen() &&
        defaults_.boolForKey(kEnterFullScreenAutomaticallyOnOpenKey)) {
        window_->toggleFullScreen();
    }
}

void MediaPlayerWindowController::showNotice(const QString& text) {
    window_->showNotice(text);
}

void MediaPlayerWindowController::encodeRestorableState(StateCoder& coder) const {
    encodePlacement(window_->placement(), coder);
    viewController_->encodeRestorableState(coder);
}

void MediaPlayerWindowController::restoreState(const StateCoder& coder) {
    restoredPlacement_ = decodePlacement(coder);
    viewController_->restoreState(coder);
    // The restored video track may have another size.
    updateSizes();
}

void MediaPlayerWindowController::pressKey(QKeyEvent* event) {
    const auto action = playerActionFor(event->key(), event->modifiers());
    if (!action || (event->isAutoRepeat() && !infoOf(*action).repeats)) {
        event->ignore();
        return;
    }
    event->accept();
    viewController_->actions().perform(*action);
}

void MediaPlayerWindowController::turnWheel(QWheelEvent* event) {
    constexpr double kUnitsPerNotch = 120;
    const double notches = event->angleDelta().y() / kUnitsPerNotch;
    if (notches != 0) {
        viewController_->actions().changeVolume(notches * VolumeSlider::kStep);
    }
}

void MediaPlayerWindowController::perform(const MenuCommand& command) {
    const auto* action = std::get_if<PlayerAction>(&command);
    const bool isDone = action != nullptr && performInWindow(*action);
    if (!isDone && callbacks_.perform) {
        callbacks_.perform(command);
    }
}

bool MediaPlayerWindowController::performInWindow(PlayerAction action) {
    switch (action) {
    case PlayerAction::toggleFullScreen:
        window_->toggleFullScreen();
        return true;
    case PlayerAction::leaveFullScreen:
        window_->leaveFullScreen();
        return true;
    case PlayerAction::minimizeWindow:
        window_->showMinimized();
        return true;
    case PlayerAction::showKeys:
        showShortcuts();
        return true;
    case PlayerAction::openFile:
        if (callbacks_.onOpen) {
            callbacks_.onOpen();
        }
        return true;
    case PlayerAction::closeWindow:
        window_->close();
        return true;
    case PlayerAction::quit:
        // Unlike closing each window, this lets the application keep its session.
        QCoreApplication::quit();
        return true;
    default:
        return false;
    }
}

PlayerMenuState MediaPlayerWindowController::menuState() const {
    PlayerMenuState state = viewController_->actions().menuState();
    state.isFullScreen = window_->isFullScreen();
    return state;
}

void MediaPlayerWindowController::showMenu(const QPoint& globalPosition) {
    viewController_->showMenu(playerMenu(menuState(), callbacks_.menuState()), globalPosition);
}

void MediaPlayerWindowController::makeMenuBar() {
    const auto makeMenus = [this] {
        const PlayerMenuState state = menuState();
        return menuBar(&state, callbacks_.menuState());
    };
    menuBar_ = std::make_unique<WindowMenuBar>(*window_, makeMenus, [this](const auto& command) {
        viewController_->actions().perform(command);
    });
}

void MediaPlayerWindowController::showShortcuts() {
    if (!shortcutsWindow_) {
        shortcutsWindow_ = makeShortcutsWindow(window_.get());
    }
    shortcutsWindow_->show();
    shortcutsWindow_->raise();
    shortcutsWindow_->activateWindow();
}

} // namespace zelvane

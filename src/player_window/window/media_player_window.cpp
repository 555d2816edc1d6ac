// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/window/media_player_window.h"

#include <cmath>
#include <utility>
#include <vector>

#include <QApplication>
#include <QCloseEvent>
#include <QContextMenuEvent>
#include <QCursor>
#include <QKeyEvent>
#include <QScreen>
#include <QStyleHints>
#include <QWindow>

#include "player_window/controls/widget_geometry.h"
#include "player_window/desktop/desktop_settings.h"
#include "player_window/notice_widget.h"
#include "player_window/views/player_view_layout.h"
#include "player_window/window/aspect_hint.h"
#include "player_window/window/window_edges.h"
#include "player_window/window/window_sizing.h"

namespace zelvane {
namespace {

constexpr int kLargestWidgetSize = QWIDGETSIZE_MAX;
constexpr int kNoticeMargin = 16;
constexpr int kNoticeTop = static_cast<int>(kTitleBarHeight) + 12;

QSize ceiled(const CGSize& size) {
    return {static_cast<int>(std::ceil(size.width)), static_cast<int>(std::ceil(size.height))};
}

QSize rounded(const CGSize& size) {
    return {static_cast<int>(std::lround(size.width)), static_cast<int>(std::lround(size.height))};
}

QRect workAreaOf(const QWidget& window) {
    const QScreen* screen = window.screen();
    return screen == nullptr ? QRect() : screen->availableGeometry();
}

std::vector<CGRect> workAreas() {
    std::vector<CGRect> areas;
    for (const auto* screen : QGuiApplication::screens()) {
        areas.push_back(rectOf(screen->availableGeometry()));
    }
    return areas;
}

/// The compositor of Wayland places the windows of programs itself.
bool placesWindows() {
    return !QGuiApplication::platformName().startsWith("wayland");
}

QScreen* screenOfUser() {
    const QWidget* active = QApplication::activeWindow();
    QScreen* screen =
        active == nullptr ? QGuiApplication::screenAt(QCursor::pos()) : active->screen();
    return screen == nullptr ? QGuiApplication::primaryScreen() : screen;
}

std::vector<CGRect> framesOfOtherWindows(const MediaPlayerWindow& window) {
    std::vector<CGRect> frames;
    for (const auto* widget : QApplication::topLevelWidgets()) {
        const auto* other = qobject_cast<const MediaPlayerWindow*>(widget);
        if (other != nullptr && other != &window && other->isVisible()) {
            frames.push_back(rectOf(other->geometry()));
        }
    }
    return frames;
}

} // namespace

// All widgets belong to this one. NOLINTBEGIN(cppcoreguidelines-owning-memory)
MediaPlayerWindow::MediaPlayerWindow(TitleBar::Ground ground, bool isResizable)
    : QWidget(nullptr, Qt::Window | Qt::FramelessWindowHint), isResizable_(isResizable),
      titleBar_(new TitleBar(ground, this)),
      notice_(new NoticeWidget(ground == TitleBar::Ground::plain ? NoticeWidget::Place::inTitleBar
                                                                 : NoticeWidget::Place::overPicture,
                               this)) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMouseTracking(true);
    setFocusPolicy(Qt::ClickFocus);
    connectTitleBar();
    followScreens();
    qApp->installEventFilter(this);
}
// NOLINTEND(cppcoreguidelines-owning-memory)

void MediaPlayerWindow::connectTitleBar() {
    connect(titleBar_, &TitleBar::buttonClicked, this, [this](WindowButton button) {
        switch (button) {
        case WindowButton::minimize:
            showMinimized();
            break;
        case WindowButton::fullScreen:
            toggleFullScreen();
            break;
        case WindowButton::close:
            close();
            break;
        }
    });
    const auto connectClick = [this](auto signal, TitleClickAction DesktopPreferences::*click) {
        connect(titleBar_, signal, this, [this, click](const QPoint& globalPosition) {
            performTitleClick(DesktopSettings::shared().preferences().*click, globalPosition);
        });
    };
    connectClick(&TitleBar::doubleClicked, &DesktopPreferences::doubleClick);
    connectClick(&TitleBar::middleClicked, &DesktopPreferences::middleClick);
    connectClick(&TitleBar::rightClicked, &DesktopPreferences::rightClick);
    connect(&DesktopSettings::shared(), &DesktopSettings::didChange, this,
            &MediaPlayerWindow::applyPreferences);
    applyPreferences();
}

void MediaPlayerWindow::applyPreferences() {
    titleBar_->setButtonLayout(DesktopSettings::shared().preferences().buttonLayout, isResizable_);
    orderTabs();
    // All of them paint by the preferences.
    for (auto* widget : findChildren<QWidget*>()) {
        widget->update();
    }
}

void MediaPlayerWindow::performTitleClick(TitleClickAction action, const QPoint& globalPosition) {
    switch (action) {
    case TitleClickAction::toggleMaximized:
        toggleMaximized();
        break;
    case TitleClickAction::minimize:
        showMinimized();
        break;
    case TitleClickAction::lower:
        lower();
        break;
    case TitleClickAction::menu:
        emit menuRequested(globalPosition);
        break;
    case TitleClickAction::none:
        break;
    }
}

void MediaPlayerWindow::toggleMaximized() {
    if (isFullScreen()) {
        leaveFullScreen();
    } else if (isResizable_) {
        setWindowState(windowState() ^ Qt::WindowMaximized);
    }
}

void MediaPlayerWindow::orderTabs() {
    // The controls of the content come before the title bar, which is older than they are.
    QWidget* previous = nullptr;
    for (auto* next = nextInFocusChain(); next != this; next = next->nextInFocusChain()) {
        if (contentView_ != nullptr && contentView_->isAncestorOf(next) &&
            next->focusPolicy() != Qt::NoFocus) {
            previous = next;
        }
    }
    for (auto* button : titleBar_->buttons()) {
        if (previous != nullptr) {
            setTabOrder(previous, button);
        }
        previous = button;
    }
}

void MediaPlayerWindow::setContentView(QWidget* content) {
    contentView_ = content;
    contentView_->setParent(this);
    contentView_->lower();
    contentView_->show();
    layOut();
    orderTabs();
}

void MediaPlayerWindow::setContentSizes(const CGSize& minimum, const CGSize& preferred) {
    minimumSize_ = minimum;
    preferredSize_ = preferred;
    applySizeLimits();
}

QAccessibleInterface* MediaPlayerWindow::makeAccessible() {
    // The toolkit owns it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    return new QAccessibleWidget(this, QAccessible::Window);
}

void MediaPlayerWindow::applySizeLimits() {
    if (isFullScreen()) {
        setMinimumSize(0, 0);
        setMaximumSize(kLargestWidgetSize, kLargestWidgetSize);
        return;
    }
    if (!isResizable_) {
        setFixedSize(ceiled(preferredSize_));
        return;
    }
    // The minimum never keeps a window from fitting the screen.
    setMinimumSize(ceiled(minimumSize_).boundedTo(workAreaOf(*this).size()));
    setAspectHint(*this, preferredSize_);
}

CGSize MediaPlayerWindow::chromeSize() const {
    const QSize chrome = frameGeometry().size() - geometry().size();
    return sizeOf(chrome);
}

CGSize MediaPlayerWindow::sizeOnScreen() const {
    return contentSizeWithin(preferredSize_, chromeSize(), sizeOf(workAreaOf(*this).size()));
}

void MediaPlayerWindow::placeInCentre() {
    if (placesWindows()) {
        setScreen(screenOfUser());
    }
    resize(rounded(sizeOnScreen()));
    const CGRect workArea = rectOf(workAreaOf(*this));
    const CGRect place = cascadedWithin(centredWithin(sizeOf(size()), workArea),
                                        framesOfOtherWindows(*this), workArea);
    move(nearestPoints(place).topLeft());
}

void MediaPlayerWindow::showCentred() {
    placeInCentre();
    show();
    applySizeLimits();
    requestSizeAgain(*this);
}

void MediaPlayerWindow::placeAt(const CGRect& frame) {
    const auto workArea = workAreaOfTitleBar(frame, workAreas());
    if (!workArea) {
        placeInCentre();
        return;
    }
    const CGSize size = isResizable_ ? CGSize{frame.width, frame.height} : preferredSize_;
    resize(rounded(contentSizeWithin(size, {}, {workArea->width, workArea->height})));
    move(nearestPoints(frame).topLeft());
}

void MediaPlayerWindow::showAt(const WindowPlacement& placement) {
    placeAt(placement.frame);
    if (isResizable_) {
        Qt::WindowStates states;
        states.setFlag(Qt::WindowFullScreen, placement.isFullScreen);
        states.setFlag(Qt::WindowMaximized, placement.isMaximized);
        setWindowState(states);
    }
    show();
    applySizeLimits();
}

WindowPlacement MediaPlayerWindow::placement() const {
    return {.frame = rectOf(isNormal() ? geometry() : normalGeometry()),
            .isFullScreen = isFullScreen(),
            .isMaximized = windowState().testFlag(Qt::WindowMaximized)};
}

void MediaPlayerWindow::recreate() {
    const QRect place = geometry();
    const bool wasVisible = isVisible();
    hide();
    destroy();
    create();
    setGeometry(place);
    if (wasVisible) {
        show();
        applySizeLimits();
    }
}

void MediaPlayerWindow::followScreens() {
    // When a screen is removed, its windows are moved after the signal.
    const auto adapt = [this] { adaptToScreens(); };
    const auto follow = [this, adapt](QScreen* screen) {
        connect(screen, &QScreen::availableGeometryChanged, this, adapt, Qt::QueuedConnection);
    };
    for (auto* screen : QGuiApplication::screens()) {
        follow(screen);
    }
    connect(qApp, &QGuiApplication::screenAdded, this, follow);
    connect(qApp, &QGuiApplication::screenRemoved, this, adapt, Qt::QueuedConnection);
}

void MediaPlayerWindow::adaptToScreens() {
    applySizeLimits();
    // Elsewhere the desktop places windows, and does not say where they are.
    if (placesWindows() && isNormal()) {
        setGeometry(nearestPoints(reachableWithin(rectOf(geometry()), workAreas())));
    }
}

void MediaPlayerWindow::adaptToPreferredSize() {
    needsSetWindowFrameFromPreferredSize_ = isFullScreen();
    if (!isFullScreen() && !isMaximized()) {
        resize(rounded(sizeOnScreen()));
    }
}

void MediaPlayerWindow::toggleFullScreen() {
    if (isResizable_) {
        setWindowState(windowState() ^ Qt::WindowFullScreen);
    }
}

void MediaPlayerWindow::leaveFullScreen() {
    setWindowState(windowState() & ~Qt::WindowFullScreen);
}

void MediaPlayerWindow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::WindowStateChange) {
        emit placementDidChange();
    }
    if (event->type() != QEvent::WindowStateChange || isFullScreen() == wasFullScreen_) {
        return;
    }
    wasFullScreen_ = isFullScreen();
    applySizeLimits();
    titleBar_->setFullScreen(wasFullScreen_);
    if (!wasFullScreen_ && needsSetWindowFrameFromPreferredSize_) {
        adaptToPreferredSize();
    }
    emit fullScreenDidChange(wasFullScreen_);
}

void MediaPlayerWindow::closeEvent(QCloseEvent* event) {
    event->accept();
    if (!std::exchange(didClose_, true)) {
        emit didClose();
    }
}

void MediaPlayerWindow::keyPressEvent(QKeyEvent* event) {
    event->ignore();
    emit keyPressed(event);
}

void MediaPlayerWindow::wheelEvent(QWheelEvent* event) {
    emit wheelTurned(event);
}

void MediaPlayerWindow::layOut() {
    if (contentView_ != nullptr) {
        contentView_->setGeometry(rect());
    }
    titleBar_->setGeometry(0, 0, width(), static_cast<int>(kTitleBarHeight));
    titleBar_->raise();
    layOutNotice();
}

void MediaPlayerWindow::showNotice(const QString& text) {
    // The buttons of the title bar may have changed.
    layOutNotice();
    notice_->showText(text);
}

void MediaPlayerWindow::layOutNotice() {
    notice_->setRoom(titleBar_->ground() == TitleBar::Ground::plain
                         ? titleBar_->titleRoom()
                         : rect().adjusted(kNoticeMargin, kNoticeTop, -kNoticeMargin, 0));
}

void MediaPlayerWindow::moveEvent(QMoveEvent* /*event*/) {
    emit placementDidChange();
}

void MediaPlayerWindow::resizeEvent(QResizeEvent* /*event*/) {
    layOut();
    keepShape();
    emit placementDidChange();
}

bool MediaPlayerWindow::isNormal() const {
    return !isFullScreen() && !isMaximized() && !isMinimized();
}

void MediaPlayerWindow::keepShape() {
    // The compositor of Wayland only proposes sizes. On X11 the window manager keeps the shape.
    if (!isResizable_ || !isNormal() || placesWindows()) {
        return;
    }
    if (const auto size = correctionToAspect(preferredSize_, sizeOf(this->size()))) {
        resize(rounded(*size));
    }
}

Qt::Edges MediaPlayerWindow::edgesAt(const QPoint& position) const {
    const bool canResize = isResizable_ && !isFullScreen() && !isMaximized();
    return canResize ? windowEdgesAt(position.x(), position.y(), sizeOf(size())) : Qt::Edges();
}

bool MediaPlayerWindow::beginResizing(const QPoint& position) {
    const Qt::Edges edges = edgesAt(position);
    return edges && windowHandle() != nullptr && windowHandle()->startSystemResize(edges);
}

void MediaPlayerWindow::showPointerAt(const QPoint& position) {
    const Qt::Edges edges = edgesAt(position);
    if (edges) {
        QApplication::changeOverrideCursor(cursorForEdges(edges));
        if (!std::exchange(hasPointerOfEdge_, true)) {
            QApplication::setOverrideCursor(cursorForEdges(edges));
        }
    } else if (std::exchange(hasPointerOfEdge_, false)) {
        QApplication::restoreOverrideCursor();
    }
}

bool MediaPlayerWindow::eventFilter(QObject* watched, QEvent* event) {
    // The edges are the window's, whatever widget is there.
    auto* widget = qobject_cast<QWidget*>(watched);
    if (widget == nullptr || widget->window() != this) {
        return false;
    }
    const bool isPress = event->type() == QEvent::MouseButtonPress;
    if (isPress || event->type() == QEvent::MouseMove) {
        const auto* mouse = static_cast<const QMouseEvent*>(event);
        const QPoint position = mapFromGlobal(mouse->globalPosition().toPoint());
        if (isPress && mouse->button() == Qt::LeftButton) {
            return beginResizing(position);
        }
        if (mouse->buttons() == Qt::NoButton) {
            showPointerAt(position);
        }
    } else if (event->type() == QEvent::Leave && widget == this) {
        showPointerAt(rect().center());
    }
    return false;
}

void MediaPlayerWindow::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        pressedAt_ = event->globalPosition().toPoint();
        setFocus(Qt::MouseFocusReason);
    }
}

void MediaPlayerWindow::mouseMoveEvent(QMouseEvent* event) {
    if (!pressedAt_ || !event->buttons().testFlag(Qt::LeftButton) || isFullScreen()) {
        return;
    }
    // Not on the press: window managers would swallow the second click of a double click.
    const int distance = (event->globalPosition().toPoint() - *pressedAt_).manhattanLength();
    if (distance >= QGuiApplication::styleHints()->startDragDistance() &&
        windowHandle() != nullptr) {
        pressedAt_ = std::nullopt;
        windowHandle()->startSystemMove();
    }
}

void MediaPlayerWindow::mouseReleaseEvent(QMouseEvent* /*event*/) {
    pressedAt_ = std::nullopt;
}

void MediaPlayerWindow::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        toggleFullScreen();
    }
}

void MediaPlayerWindow::contextMenuEvent(QContextMenuEvent* event) {
    emit menuRequested(event->globalPos());
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include <QPoint>
#include <QWidget>

#include "foundation/geometry.h"
#include "player_window/controls/accessible_widget.h"
#include "player_window/window/title_bar.h"
#include "player_window/window/window_placement.h"

namespace zelvane {

class NoticeWidget;

/// A window without a frame: its content fills it, the title bar is over the content. It resizes at
/// its edges, moves when its picture or its title bar is dragged, and keeps the shape of its
/// content. Its title bar follows the preferences of the desktop. Main thread.
class MediaPlayerWindow final : public QWidget, public AccessibleWidget {
    Q_OBJECT

  public:
    /// A window that cannot be resized has no full screen either.
    MediaPlayerWindow(TitleBar::Ground ground, bool isResizable);

    /// Takes the content.
    void setContentView(QWidget* content);
    QWidget* contentView() const { return contentView_; }
    TitleBar& titleBar() const { return *titleBar_; }
    /// Shows a text for a moment; below the title bar over a picture, else in place of the title.
    void showNotice(const QString& text);
    const NoticeWidget& notice() const { return *notice_; }

    /// In points. The shape of `preferred` is kept when the window is resized.
    void setContentSizes(const CGSize& minimum, const CGSize& preferred);
    /// Shows the window in the middle of the screen on which the user works, or beside the windows
    /// that are there, as large as its content wants and the work area allows.
    void showCentred();
    /// Shows the window where it was in an earlier run, or in the middle if that is not visible
    /// now.
    void showAt(const WindowPlacement& placement);
    WindowPlacement placement() const;
    /// After a change of the preferred size: the top-left corner stays. In full screen this waits
    /// for its end.
    void adaptToPreferredSize();
    /// Makes a new window of the desktop for this one: without a surface for OpenGL if its content
    /// has none any more.
    void recreate();
    void toggleFullScreen();
    void leaveFullScreen();
    bool isResizable() const { return isResizable_; }
    QAccessibleInterface* makeAccessible() override;

  signals:
    /// Once; the window still exists.
    void didClose();
    void fullScreenDidChange(bool isFullScreen);
    void placementDidChange();
    void menuRequested(const QPoint& globalPosition);
    /// A key that no control has taken.
    void keyPressed(QKeyEvent* event);
    void wheelTurned(QWheelEvent* event);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

  private:
    void connectTitleBar();
    void applyPreferences();
    void performTitleClick(TitleClickAction action, const QPoint& globalPosition);
    void toggleMaximized();
    void orderTabs();
    bool isNormal() const;
    void keepShape();
    void applySizeLimits();
    void followScreens();
    void adaptToScreens();
    void layOut();
    void layOutNotice();
    CGSize chromeSize() const;
    CGSize sizeOnScreen() const;
    void placeInCentre();
    void placeAt(const CGRect& frame);
    Qt::Edges edgesAt(const QPoint& position) const;
    bool beginResizing(const QPoint& position);
    void showPointerAt(const QPoint& position);

    const bool isResizable_;
    TitleBar* titleBar_;
    NoticeWidget* notice_;
    QWidget* contentView_ = nullptr;
    CGSize minimumSize_;
    CGSize preferredSize_;
    std::optional<QPoint> pressedAt_;
    bool needsSetWindowFrameFromPreferredSize_ = false;
    bool wasFullScreen_ = false;
    bool hasPointerOfEdge_ = false;
    bool didClose_ = false;
};

} // namespace zelvane

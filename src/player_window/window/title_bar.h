// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <QString>

#include "player_window/controls/accessible_widget.h"
#include "player_window/controls/fading_panel.h"
#include "player_window/desktop/button_layout.h"

namespace zelvane {

class ControlButton;

/// The title bar of a window without a frame: the menu button, the title and the window's buttons.
/// Over a film it darkens the picture under it and fades with the controls. Moves the window when
/// it is dragged. Main thread.
class TitleBar final : public FadingPanel, public AccessibleWidget {
    Q_OBJECT

  public:
    enum class Ground { overPicture, plain };

    TitleBar(Ground ground, QWidget* parent);

    void setTitle(const QString& title);
    const QString& title() const { return title_; }
    Ground ground() const { return ground_; }
    /// What the buttons leave for the title, in points of the bar.
    const QRect& titleRoom() const { return titleRoom_; }
    /// A window that cannot be in full screen leaves that button out.
    void setButtonLayout(const ButtonLayout& layout, bool canFillScreen);
    void setFullScreen(bool fullScreen);
    ControlButton& menuButton() const { return *menuButton_; }
    /// The buttons from left to right.
    std::vector<QWidget*> buttons() const;
    QAccessibleInterface* makeAccessible() override;

  signals:
    void buttonClicked(zelvane::WindowButton button);
    void doubleClicked(const QPoint& globalPosition);
    void middleClicked(const QPoint& globalPosition);
    void rightClicked(const QPoint& globalPosition);

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

  private:
    class TitleText;
    struct Button {
        WindowButton kind;
        ControlButton* widget;
    };

    void paintGround(QPainter& painter) override;
    void layOut();
    void makeButtons();
    void addButtons(const std::vector<WindowButton>& kinds, std::vector<Button>& buttons);

    const Ground ground_;
    QString title_;
    QRect titleRoom_;
    QWidget* content_;
    TitleText* titleText_;
    ControlButton* menuButton_;
    ButtonLayout layout_;
    bool canFillScreen_ = true;
    std::vector<Button> left_;
    std::vector<Button> right_;
    bool isFullScreen_ = false;
};

} // namespace zelvane

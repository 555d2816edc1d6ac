// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include <QAbstractButton>
#include <QColor>
#include <QPixmap>

#include "foundation/geometry.h"
#include "player_window/controls/control_symbol.h"
#include "player_window/window/player_action.h"

namespace zelvane {

/// A button of the controls or of the title bar: a symbol on a fill that appears under the pointer.
/// The focus ring is visible only while the keyboard is used. Main thread.
class ControlButton final : public QAbstractButton {
    Q_OBJECT

  public:
    enum class Shape {
        roundedSquare,
        /// With a fill at rest too: the main control.
        circle,
    };

    /// `name` is spoken by assistive technology and appears as the tooltip.
    ControlButton(ControlSymbol symbol, const QString& name, QWidget* parent);

    void setSymbol(ControlSymbol symbol, const QString& name);
    /// The tooltip states the key of this action.
    void setKeyOf(PlayerAction action);
    /// Its tooltip covers what is above the button instead of what is below.
    void setShowsToolTipAbove(bool above) { showsToolTipAbove_ = above; }
    ControlSymbol symbol() const { return symbol_; }
    /// Points.
    void setSymbolSize(double size);
    void setShape(Shape shape);
    /// A short text in the middle of the symbol: the seconds of a jump.
    void setBadge(const QString& badge);
    /// The accent colour in place of white.
    void setAccented(bool accented);

    QSize sizeHint() const override;

  protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    /// All that decides how the button looks.
    struct Look {
        /// The device pixels of the button, in its points.
        CGRect place;
        double devicePixelRatio = 0;
        Shape shape = Shape::roundedSquare;
        ControlSymbol symbol = ControlSymbol::play;
        double symbolSize = 0;
        QString badge;
        QColor tint;
        QColor accent;
        bool isPressed = false;
        bool isHovered = false;
        bool showsFocus = false;
        bool increasesContrast = false;
        friend bool operator==(const Look&, const Look&) = default;
    };

    void updateToolTip();
    void showToolTipAbove();
    Look look() const;
    QPixmap painted(const Look& look) const;
    double cornerRadius() const;
    void paintFill(QPainter& painter, const Look& look) const;
    void paintSymbol(QPainter& painter, const Look& look) const;
    QColor tint() const;

    ControlSymbol symbol_;
    double symbolSize_ = 20;
    Shape shape_ = Shape::roundedSquare;
    QString badge_;
    std::optional<PlayerAction> action_;
    bool isAccented_ = false;
    bool showsFocus_ = false;
    bool showsToolTipAbove_ = false;
    /// Over a film the button is painted with each picture.
    Look paintedLook_;
    QPixmap pixmap_;
};

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include <QAbstractButton>

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
    void updateToolTip();
    double cornerRadius() const;
    void paintFill(QPainter& painter) const;
    void paintSymbol(QPainter& painter) const;
    QColor tint() const;

    ControlSymbol symbol_;
    double symbolSize_ = 20;
    Shape shape_ = Shape::roundedSquare;
    QString badge_;
    std::optional<PlayerAction> action_;
    bool isAccented_ = false;
    bool showsFocus_ = false;
};

} // namespace zelvane

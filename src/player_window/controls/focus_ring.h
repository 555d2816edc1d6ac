// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class QFocusEvent;
class QKeyEvent;
class QPainter;
class QRectF;
class QWidget;

namespace zelvane {

/// Points.
inline constexpr double kFocusRingWidth = 2;

/// A ring of the accent colour inside the edge of a rounded rectangle of `widget`.
void paintFocusRing(QPainter& painter, const QWidget& widget, const QRectF& rect,
                    double cornerRadius);

/// Whether the focus was moved by the keyboard: only then is the ring visible.
bool isFocusByKeyboard(const QFocusEvent& event);

/// Whether the key presses a button that has the focus.
bool isPressKey(const QKeyEvent& event);

} // namespace zelvane

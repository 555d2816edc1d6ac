// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class QBrush;
class QPainter;
class QRectF;
class QWidget;

namespace zelvane {

/// Fills a rounded rectangle of `widget`, in its points: the whole device pixels inside it.
void fillRounded(QPainter& painter, const QWidget& widget, const QRectF& rect, double cornerRadius,
                 const QBrush& brush);

/// Paints a line of the hairline colour inside the edge of the rounded rectangle, one point wide
/// but whole device pixels.
void paintHairline(QPainter& painter, const QWidget& widget, const QRectF& rect,
                   double cornerRadius);

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include <QImage>
#include <QPainter>

namespace zelvane {

/// Paints the picture under a widget, in points of that widget's window; false where it cannot be
/// had.
using PaintPicture = std::function<bool(QPainter& painter)>;

/// A blurred picture for a panel: one eighth of its size, with one pixel more at each edge, so that
/// it can be enlarged without a seam.
class Backdrop {
  public:
    static constexpr int kReduction = 8;

    /// `panel` in points of the window. `color` is painted over the blurred picture. Null where
    /// `paintPicture` has no picture.
    static QImage make(const PaintPicture& paintPicture, const QRect& panel, const QColor& color);
};

} // namespace zelvane

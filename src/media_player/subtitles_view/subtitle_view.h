// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QRectF>
#include <QSizeF>

class QPainter;

namespace zelvane {

/// Shows one subtitle, somewhere within the rectangle of the picture. It is laid out once for each
/// size, and painting only copies what was laid out. Main thread.
class SubtitleView {
  public:
    virtual ~SubtitleView() = default;

    /// Lays the subtitle out for a picture that is shown `size` large, in units of which each side
    /// has `devicePixelRatio` pixels on the screen. Must come before the others.
    virtual void setSize(const QSizeF& size, qreal devicePixelRatio) = 0;
    /// Where something is painted, in the units of the size and from the picture's top left; empty
    /// where nothing is.
    virtual QRectF paintedRect() const = 0;
    /// `painter` has the picture's top left as its origin, and the units of the size.
    virtual void paint(QPainter& painter) const = 0;
};

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QRectF>
#include <QSizeF>

class QPainter;

namespace zelvane {

/// Shows one subtitle within the rectangle of the picture. It is laid out once for each size;
/// painting only copies the result. Main thread.
class SubtitleView {
  public:
    virtual ~SubtitleView() = default;

    /// Lays the subtitle out for a picture of this size, in units of which each side has
    /// `devicePixelRatio` pixels of the screen. Call before the other functions.
    virtual void setSize(const QSizeF& size, qreal devicePixelRatio) = 0;
    /// The rectangle that is painted, in the units of the size and from the picture's top left; may
    /// be empty.
    virtual QRectF paintedRect() const = 0;
    /// The origin of `painter` must be the picture's top left, and its units those of the size.
    virtual void paint(QPainter& painter) const = 0;
};

} // namespace zelvane

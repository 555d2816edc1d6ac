// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QImage>
#include <QPoint>
#include <QRectF>
#include <QSize>

#include "subtitles_view/text_block.h"
#include "text/string_attributes.h"

namespace zelvane {

/// The position and scale of a block of text. Lengths are in pixels, from the top left of the
/// picture.
struct TextSubtitlePlace {
    /// The size of the picture, which clips drawing.
    QSize pictureSize;
    /// The block's top left.
    QPointF origin;
    /// The length of one unit of the text.
    double unit = 1;
    /// The largest font size, in units of the text.
    double maximumFontSize = 0;
    /// The length of one unit of a shadow's blur, which does not grow with the text.
    double blurUnit = 1;
    QRectF box;
    double boxCornerRadius = 0;
    SRGBColor boxColor;
};

/// A piece of the picture.
struct TextSubtitleRaster {
    /// Premultiplied; null if nothing is drawn.
    QImage image;
    /// The position of the image's top left.
    QPoint origin;
};

/// Draws the box, then the backgrounds of the runs, their shadows, their outlines and their
/// letters, each for all runs before the next: no outline covers a letter, and no shadow an
/// outline. Main thread.
TextSubtitleRaster drawTextSubtitle(const TextBlock& block, const TextSubtitlePlace& place);

} // namespace zelvane

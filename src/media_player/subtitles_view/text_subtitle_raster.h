// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QImage>
#include <QPoint>
#include <QRectF>
#include <QSize>

#include "media_player/subtitles_view/text_block.h"
#include "text/string_attributes.h"

namespace zelvane {

/// Where and how large a block of text is drawn. Lengths are in pixels, from the top left of the
/// picture.
struct TextSubtitlePlace {
    /// Nothing is drawn outside the picture.
    QSize pictureSize;
    /// The block's top left.
    QPointF origin;
    /// How long one unit of the text is.
    double unit = 1;
    /// Fonts are no larger, in units of the text.
    double maximumFontSize = 0;
    /// How long one unit of a shadow's blur is, which does not grow with the text.
    double blurUnit = 1;
    QRectF box;
    double boxCornerRadius = 0;
    SRGBColor boxColor;
};

/// A piece of the picture.
struct TextSubtitleRaster {
    /// Premultiplied; null where nothing is drawn.
    QImage image;
    /// Of the image's top left.
    QPoint origin;
};

/// Draws the box, and over it the backgrounds of the runs, their shadows, their outlines and their
/// letters, each of them of all runs before the next: no outline covers a letter, and no shadow an
/// outline. Main thread.
TextSubtitleRaster drawTextSubtitle(const TextBlock& block, const TextSubtitlePlace& place);

} // namespace zelvane

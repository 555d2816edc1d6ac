// SPDX-License-Identifier: GPL-3.0-or-later
#include "subtitles_view/formatted_text_subtitle_view.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <QPainter>
#include <QTransform>

namespace zelvane {
namespace {

/// In pixels of the screen: the limit of images, and twice the largest screens.
constexpr double kMaximumSide = 16384;
constexpr double kMaximumArea = 8192.0 * 8192.0;
/// Letters that are this many times as high as the picture are unreadable.
constexpr double kMaximumFontHeights = 4;

bool canBeDrawn(const QSizeF& size, qreal devicePixelRatio) {
    const QSizeF pixels = size * devicePixelRatio;
    const auto isSide = [](double side) { return side >= 1 && side <= kMaximumSide; };
    return isSide(pixels.width()) && isSide(pixels.height()) &&
           pixels.width() * pixels.height() <= kMaximumArea;
}

/// Rounds to the screen's pixels, so that all edges of a block are equally sharp.
CGRect onPixels(const CGRect& frame, double devicePixelRatio) {
    const auto snapped = [&](double value) {
        return std::round(value * devicePixelRatio) / devicePixelRatio;
    };
    return {snapped(frame.x), snapped(frame.y), frame.width, frame.height};
}

QRectF scaled(const CGRect& rect, double factor) {
    return {rect.x * factor, rect.y * factor, rect.width * factor, rect.height * factor};
}

} // namespace

FormattedTextSubtitleView::FormattedTextSubtitleView(FormattedTextSubtitle subtitle,
                                                     bool isPrimarySubtitle)
    : subtitle_(std::move(subtitle)), isPrimarySubtitle_(isPrimarySubtitle) {}

void FormattedTextSubtitleView::setSize(const QSizeF& size, qreal devicePixelRatio) {
    if (size == size_ && devicePixelRatio == devicePixelRatio_) {
        return;
    }
    size_ = size;
    devicePixelRatio_ = devicePixelRatio;
    raster_ = drawn();
}

TextSubtitleRaster FormattedTextSubtitleView::drawn() const {
    if (!canBeDrawn(size_, devicePixelRatio_) || subtitle_.formattedText == nullptr) {
        return {};
    }
    const SubtitleTextStyle& style = subtitle_.style;
    const CGSize viewSize{size_.width(), size_.height()};
    const TextSubtitleSpace space = textSubtitleSpace(style, viewSize);
    if (!(space.unit > 0) || !std::isfinite(space.unit)) {
        return {};
    }
    const CGSize room = textSubtitleLimits(space, viewSize);
    const TextBlockLimits limits{
        room.width, room.height, kMaximumFontHeights * viewSize.height / space.unit,
        style.alignmentInContainer == SubtitleTextStyle::Alignment::center};
    const TextBlock block = layOutText(*subtitle_.formattedText, limits);
    // Without text, no box is drawn.
    if (!(block.size.width > 0)) {
        return {};
    }
    return drawTextSubtitle(block, placeOf(block, space, limits));
}

TextSubtitlePlace FormattedTextSubtitleView::placeOf(const TextBlock& block,
                                                     const TextSubtitleSpace& space,
                                                     const TextBlockLimits& limits) const {
    const SubtitleTextStyle& style = subtitle_.style;
    const double pixels = devicePixelRatio_;
    const CGRect frame = onPixels(
        textSubtitleFrame(space, style.alignmentInContainer, isPrimarySubtitle_, block.size),
        pixels);
    TextSubtitlePlace place;
    place.pictureSize = (size_ * pixels).toSize();
    place.origin = QPointF(frame.x, frame.y) * pixels;
    place.unit = space.unit * pixels;
    place.maximumFontSize = limits.fontSize;
    place.blurUnit = pixels;
    place.box = scaled(textSubtitleBox(space, frame), pixels);
    place.boxCornerRadius = style.overlayStyle.cornerRadius * pixels;
    place.boxColor = style.overlayStyle.backgroundColor;
    return place;
}

QRectF FormattedTextSubtitleView::paintedRect() const {
    if (raster_.image.isNull()) {
        return {};
    }
    return QRectF(QPointF(raster_.origin) / devicePixelRatio_,
                  QSizeF(raster_.image.size()) / devicePixelRatio_);
}

/// Rounds to the nearest pixels: with an origin between two pixels, the image would be blurred.
void FormattedTextSubtitleView::paint(QPainter& painter) const {
    if (raster_.image.isNull()) {
        return;
    }
    const QRectF rect = paintedRect();
    const QTransform toDevice = painter.deviceTransform();
    const bool isInvertible = toDevice.type() <= QTransform::TxScale && toDevice.isInvertible();
    const QPointF exact = toDevice.map(rect.topLeft());
    const QPointF topLeft =
        isInvertible ? toDevice.inverted().map(QPointF(exact.toPoint())) : rect.topLeft();
    painter.drawImage(QRectF(topLeft, rect.size()), raster_.image);
}

} // namespace zelvane

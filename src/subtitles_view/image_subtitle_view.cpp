// SPDX-License-Identifier: GPL-3.0-or-later
#include "subtitles_view/image_subtitle_view.h"

#include <cmath>
#include <utility>

#include <QPainter>

namespace zelvane {
namespace {

std::optional<CGSize> pictureSize(const ImageSubtitle& subtitle,
                                  const std::optional<VideoDimensions>& videoDimensions) {
    if (subtitle.videoDimensions) {
        return subtitle.videoDimensions->effectiveSize;
    }
    return videoDimensions ? std::optional(videoDimensions->effectiveSize) : std::nullopt;
}

/// Multiplies each colour by its alpha: otherwise scaling would mix the colour of transparent
/// pixels into their neighbours.
QImage premultiplied(const CVPixelBuffer& buffer) {
    if (buffer.pixelFormat() != kCVPixelFormatType_32BGRA || buffer.deviceFrame() != nullptr) {
        return {};
    }
    const auto& plane = buffer.plane(0);
    const QImage image(plane.baseAddress, buffer.width(), buffer.height(),
                       static_cast<qsizetype>(plane.bytesPerRow), QImage::Format_ARGB32);
    return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

/// The part of the image, which is as large as `place`, within `visible`.
QImage rasterOf(const QImage& image, const QRect& place, const QRect& visible) {
    if (visible == place) {
        return image.scaled(place.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    }
    QImage raster(visible.size(), QImage::Format_ARGB32_Premultiplied);
    raster.fill(Qt::transparent);
    QPainter painter(&raster);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(QRect(place.topLeft() - visible.topLeft(), place.size()), image);
    return raster;
}

} // namespace

ImageSubtitleView::ImageSubtitleView(ImageSubtitle subtitle, bool isPrimarySubtitle,
                                     const std::optional<VideoDimensions>& videoDimensions)
    : image_(std::move(subtitle.image)), placement_{subtitle.imageFrame,
                                                    pictureSize(subtitle, videoDimensions),
                                                    isPrimarySubtitle} {}

void ImageSubtitleView::setSize(const QSizeF& size, qreal devicePixelRatio) {
    devicePixelRatio_ = devicePixelRatio;
    const QRect place = wholeDevicePixels(
        placeImageSubtitle(placement_, {size.width(), size.height()}), devicePixelRatio);
    const QRect bounds = wholeDevicePixels({0, 0, size.width(), size.height()}, devicePixelRatio);
    rasterPlace_ = place & bounds;
    raster_ = {};
    if (rasterPlace_.isEmpty()) {
        return;
    }
    const QImage image = premultiplied(*image_);
    if (!image.isNull()) {
        raster_ = rasterOf(image, place, rasterPlace_);
    }
}

QRectF ImageSubtitleView::paintedRect() const {
    if (raster_.isNull()) {
        return {};
    }
    return {rasterPlace_.x() / devicePixelRatio_, rasterPlace_.y() / devicePixelRatio_,
            rasterPlace_.width() / devicePixelRatio_, rasterPlace_.height() / devicePixelRatio_};
}

void ImageSubtitleView::paint(QPainter& painter) const {
    if (raster_.isNull()) {
        return;
    }
    painter.save();
    painter.scale(1 / devicePixelRatio_, 1 / devicePixelRatio_);
    painter.drawImage(rasterPlace_.topLeft(), raster_);
    painter.restore();
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/raster_video_widget.h"

#include <cmath>
#include <utility>

#include <QCoreApplication>
#include <QEvent>
#include <QPainter>

#include "player_window/picture_layout.h"

namespace zelvane {
namespace {

QEvent::Type newPictureEvent() {
    static const auto type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return type;
}

QEvent::Type reachedScreenEvent() {
    static const auto type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return type;
}

QTransform qtTransform(const CGAffineTransform& transform) {
    return {transform.a, transform.b, transform.c, transform.d, transform.tx, transform.ty};
}

/// The smallest rectangle in logical units that contains the rectangle of device pixels.
QRect logicalRect(const CGRect& rect, double ratio) {
    return QRectF(rect.x / ratio, rect.y / ratio, rect.width / ratio, rect.height / ratio)
        .toAlignedRect();
}

void fillAround(QPainter& painter, const CGSize& surface, const CGRect& hole) {
    const double right = hole.x + hole.width;
    const double bottom = hole.y + hole.height;
    for (const QRectF& bar : {QRectF(0, 0, surface.width, hole.y),
                              QRectF(0, bottom, surface.width, surface.height - bottom),
                              QRectF(0, hole.y, hole.x, hole.height),
                              QRectF(right, hole.y, surface.width - right, hole.height)}) {
        if (!bar.isEmpty()) {
            painter.fillRect(bar, Qt::black);
        }
    }
}

void drawPicture(QPainter& painter, const QImage& image, const PictureLayout& layout) {
    const double width = image.width();
    const double height = image.height();
    const QTransform toSurface =
        QTransform::fromScale(1 / width, 1 / height) * qtTransform(layout.pictureToSurface);
    const bool isScaled = layout.target.width * layout.target.height != width * height;
    painter.setRenderHint(QPainter::SmoothPixmapTransform, isScaled);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.setTransform(toSurface, true);
    painter.drawImage(0, 0, image);
}

} // namespace

RasterVideoWidget::RasterVideoWidget(QWidget* parent, RasterPresenter::Convert convert,
                                     std::shared_ptr<HostClock> clock)
    : QWidget(parent),
      presenter_(std::make_shared<RasterPresenter>(std::move(convert), std::move(clock))) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setAttribute(Qt::WA_NoSystemBackground);
    presenter_->attach([this] {
        if (!isUpdatePending_.exchange(true)) {
            QCoreApplication::postEvent(this,
                                        std::make_unique<QEvent>(newPictureEvent()).release());
        }
    });
}

RasterVideoWidget::~RasterVideoWidget() {
    presenter_->detach();
}

CGSize RasterVideoWidget::deviceSize() const {
    const double ratio = devicePixelRatio();
    return {std::round(width() * ratio), std::round(height() * ratio)};
}

void RasterVideoWidget::drawNewest() {
    isUpdatePending_ = false;
    const auto content = presenter_->content();
    const CGRect target = layoutOf(content).target;
    const bool isSamePlace = target == lastTarget_ && target != CGRect{};
    // Repaint at once: the next iteration of the event loop would only delay the picture.
    if (isSamePlace) {
        repaint(logicalRect(target, devicePixelRatio()));
    } else {
        repaint();
    }
}

PictureLayout RasterVideoWidget::layoutOf(const RasterPresenter::Content& content) const {
    return content.picture == nullptr
               ? PictureLayout{}
               : layOutPicture(content.bounds, content.transform, deviceSize());
}

bool RasterVideoWidget::paintPicture(QPainter& painter) const {
    const auto content = presenter_->content();
    const PictureLayout layout = layoutOf(content);
    if (layout.target == CGRect{}) {
        return false;
    }
    painter.save();
    painter.translate(mapTo(window(), QPoint(0, 0)));
    painter.scale(1 / devicePixelRatio(), 1 / devicePixelRatio());
    drawPicture(painter, *content.picture, layout);
    painter.restore();
    return true;
}

void RasterVideoWidget::paintEvent(QPaintEvent* /*event*/) {
    const auto content = presenter_->takeContent();
    const PictureLayout layout = layoutOf(content);
    lastTarget_ = layout.target;
    QPainter painter(this);
    painter.scale(1 / devicePixelRatio(), 1 / devicePixelRatio());
    fillAround(painter, deviceSize(), layout.target);
    if (layout.target != CGRect{}) {
        drawPicture(painter, *content.picture, layout);
    }
    // The window system has the picture when this paint ends, and this event is the next one.
    QCoreApplication::postEvent(this, std::make_unique<QEvent>(reachedScreenEvent()).release(),
                                Qt::HighEventPriority);
}

bool RasterVideoWidget::event(QEvent* event) {
    if (event->type() == newPictureEvent()) {
        drawNewest();
        return true;
    }
    if (event->type() == reachedScreenEvent()) {
        presenter_->didReachScreen();
        return true;
    }
    return QWidget::event(event);
}

} // namespace zelvane

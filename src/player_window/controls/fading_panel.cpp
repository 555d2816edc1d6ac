// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/fading_panel.h"

#include <QPainter>

#include "player_window/controls/widget_geometry.h"
#include "player_window/desktop/desktop_settings.h"

namespace zelvane {
namespace {

/// How far the widget's origin is from the device pixel to its left and above it, in points.
QPointF offsetInPixel(const QWidget& widget) {
    const PixelGrid grid = pixelGridOf(widget);
    const auto rest = [&grid](double origin) {
        const double pixels = origin * grid.scale;
        return (pixels - std::floor(pixels)) / grid.scale;
    };
    return {rest(grid.originX), rest(grid.originY)};
}

/// A mask that leaves nothing of a widget. An empty region would mean no mask.
const QRegion& nothing() {
    static const QRegion region(-2, -2, 1, 1);
    return region;
}

} // namespace

FadingPanel::FadingPanel(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_NoSystemBackground);
    connect(&animation_, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& value) { setOpacity(value.toDouble()); });
    connect(&animation_, &QVariantAnimation::finished, this, [this] { finishFading(); });
}

void FadingPanel::setContent(QWidget* content) {
    content_ = content;
    content_->setParent(this);
    content_->setGeometry(rect());
    content_->show();
}

void FadingPanel::setShown(bool shown, int duration) {
    if (shown == isShown_ || content_ == nullptr) {
        return;
    }
    isShown_ = shown;
    animation_.stop();
    clearMask();
    const double target = shown ? 1 : 0;
    if (duration <= 0 || DesktopSettings::shared().preferences().reducesMotion) {
        setOpacity(target);
        finishFading();
        return;
    }
    takeSnapshot();
    animation_.setStartValue(opacity_);
    animation_.setEndValue(target);
    animation_.setDuration(duration);
    animation_.start();
}

void FadingPanel::setOpacity(double opacity) {
    opacity_ = opacity;
    update();
}

void FadingPanel::takeSnapshot() {
    Q_ASSERT(content_ != nullptr);
    content_->clearMask();
    content_->setUpdatesEnabled(true);
    // On the pixels of the screen: the children look the same in the snapshot and after the fade.
    const QPointF offset = offsetInPixel(*this);
    const QSizeF covered = size() + QSizeF(offset.x(), offset.y());
    const double scale = devicePixelRatio();
    snapshot_ = QPixmap(static_cast<int>(std::ceil(covered.width() * scale)),
                        static_cast<int>(std::ceil(covered.height() * scale)));
    snapshot_.setDevicePixelRatio(scale);
    snapshot_.fill(Qt::transparent);
    QPainter painter(&snapshot_);
    painter.translate(offset);
    content_->render(&painter, {}, {}, QWidget::DrawChildren);
    painter.end();
    // The content of a panel that appears takes a click at once, but is not painted yet.
    if (isShown_) {
        content_->setUpdatesEnabled(false);
    } else {
        content_->setMask(nothing());
    }
}

void FadingPanel::finishFading() {
    Q_ASSERT(content_ != nullptr);
    snapshot_ = {};
    content_->setUpdatesEnabled(true);
    if (isShown_) {
        content_->clearMask();
    } else {
        content_->setMask(nothing());
        setMask(nothing());
    }
    update();
}

void FadingPanel::resizeEvent(QResizeEvent* /*event*/) {
    if (content_ == nullptr) {
        return;
    }
    content_->setGeometry(rect());
    if (!snapshot_.isNull()) {
        takeSnapshot();
    }
}

void FadingPanel::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setOpacity(opacity_);
    paintGround(painter);
    if (!snapshot_.isNull()) {
        painter.drawPixmap(-offsetInPixel(*this), snapshot_);
    }
}

} // namespace zelvane

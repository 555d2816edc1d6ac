// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/volume_slider.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include "player_window/controls/control_colors.h"
#include "player_window/controls/focus_ring.h"
#include "player_window/controls/widget_geometry.h"

namespace zelvane {
namespace {

constexpr double kBarHeight = 3;
constexpr double kKnobRadius = 5;
constexpr double kPercent = 100;

} // namespace

VolumeSlider::VolumeSlider(QWidget* parent) : QWidget(parent) {
    setFocusPolicy(Qt::TabFocus);
    setAccessibleName(tr("Volume"));
}

void VolumeSlider::setVolume(double volume) {
    const double clamped = std::clamp(volume, 0.0, 1.0);
    if (clamped != volume_) {
        volume_ = clamped;
        update();
        announceSliderValue(*this, volume_ * kPercent);
    }
}

void VolumeSlider::setMuted(bool muted) {
    isMuted_ = muted;
    update();
}

QAccessibleInterface* VolumeSlider::makeAccessible() {
    const auto percent = [this] { return std::round(volume_ * kPercent); };
    SliderAccess access{
        .value = percent,
        .minimum = [] { return 0.0; },
        .maximum = [] { return kPercent; },
        .change = [this](double wanted) { change(wanted / kPercent); },
        .description = [this,
                        percent] { return isMuted_ ? tr("Muted") : tr("%1 %").arg(percent()); }};
    // The toolkit owns it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    return new AccessibleSlider(this, std::move(access));
}

QSize VolumeSlider::sizeHint() const {
    return {82, 20};
}

QRectF VolumeSlider::bar() const {
    return qtRect(pixelGridOf(*this).nearest(
        {kKnobRadius, (height() - kBarHeight) / 2, width() - 2 * kKnobRadius, kBarHeight}));
}

void VolumeSlider::change(double volume) {
    const double clamped = std::clamp(volume, 0.0, 1.0);
    if (clamped == volume_ && !isMuted_) {
        return;
    }
    setVolume(clamped);
    emit volumeDidChange(volume_);
}

void VolumeSlider::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        mouseMoveEvent(event);
    } else {
        event->ignore();
    }
}

void VolumeSlider::mouseMoveEvent(QMouseEvent* event) {
    change((event->position().x() - bar().x()) / bar().width());
}

void VolumeSlider::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Left:
    case Qt::Key_Down:
        change(volume_ - kStep);
        break;
    case Qt::Key_Right:
    case Qt::Key_Up:
        change(volume_ + kStep);
        break;
    default:
        event->ignore();
    }
}

void VolumeSlider::focusInEvent(QFocusEvent* event) {
    showsFocus_ = isFocusByKeyboard(*event);
    update();
}

void VolumeSlider::focusOutEvent(QFocusEvent* /*event*/) {
    showsFocus_ = false;
    update();
}

void VolumeSlider::paintEvent(QPaintEvent* /*event*/) {
    const QRectF whole = bar();
    const double radius = whole.height() / 2;
    const QPointF knob(whole.x() + whole.width() * volume_, whole.center().y());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(control_colors::track());
    painter.drawRoundedRect(whole, radius, radius);
    painter.setBrush(control_colors::white(isMuted_ ? 0.4 : 0.78));
    painter.drawRoundedRect(QRectF(whole.topLeft(), QPointF(knob.x(), whole.bottom())), radius,
                            radius);
    painter.setBrush(isMuted_ ? QColor(0xa8, 0xa8, 0xaa) : QColor(Qt::white));
    if (showsFocus_) {
        painter.setPen(QPen(accentColor(palette()), kFocusRingWidth));
    }
    painter.drawEllipse(knob, kKnobRadius, kKnobRadius);
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/scrubber.h"

#include <cmath>
#include <utility>

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QWheelEvent>

#include "player_window/controls/control_colors.h"
#include "player_window/controls/focus_ring.h"
#include "player_window/controls/widget_geometry.h"

namespace zelvane {
namespace {

/// A notch of a wheel turns by 120 units, which scroll as far as 30 points of a touchpad.
constexpr double kPointsPerWheelUnit = 0.25;
constexpr double kKeyStep = 0.01;

void fillPartOfBar(QPainter& painter, const ScrubberLayout& layout, const CGRect& part,
                   const QColor& color) {
    painter.save();
    painter.setClipRect(qtRect(part));
    painter.setBrush(color);
    painter.drawRoundedRect(qtRect(layout.barRect), ScrubberMetrics::kBarCornerRadius,
                            ScrubberMetrics::kBarCornerRadius);
    painter.restore();
}

ScrubberScroll scrollOf(const QWheelEvent& event) {
    const double pixels = event.pixelDelta().x();
    const double delta = pixels != 0 ? pixels : event.angleDelta().x() * kPointsPerWheelUnit;
    // Fingers that move to the right move the knob to the right.
    return {.delta = event.inverted() ? delta : -delta,
            .begins = event.phase() == Qt::ScrollBegin,
            .ends = event.phase() == Qt::ScrollEnd};
}

} // namespace

Scrubber::Scrubber(QWidget* parent) : QWidget(parent) {
    setFocusPolicy(Qt::TabFocus);
    setMouseTracking(true);
    setAccessibleName(tr("Scrubber"));
}

void Scrubber::setRange(double minValue, double maxValue) {
    model_.minValue = minValue;
    model_.maxValue = maxValue;
    update();
}

void Scrubber::setValue(double value) {
    if (value == model_.value()) {
        return;
    }
    const CGRect before = presentLayout().knobRect;
    model_.setValue(value);
    // A knob on the same pixels needs no repaint.
    if (!(presentLayout().knobRect == before)) {
        update();
        // While it plays, the knob moves more often than a screen reader has something new to say.
        if (QAccessible::isActive() && valueDescription() != announcedDescription_) {
            announceValue();
        }
    }
}

void Scrubber::announceValue() {
    announcedDescription_ = valueDescription();
    announceSliderValue(*this, value());
}

void Scrubber::setAccessibilityValueFormatter(ValueFormatter formatter) {
    formatter_ = std::move(formatter);
}

QString Scrubber::valueDescription() const {
    return formatter_ ? formatter_(value()) : QString::number(value());
}

QAccessibleInterface* Scrubber::makeAccessible() {
    SliderAccess access{.value = [this] { return value(); },
                        .minimum = [this] { return minValue(); },
                        .maximum = [this] { return maxValue(); },
                        .change = [this](double wanted) { announce(model_.change(wanted)); },
                        .description = [this] { return valueDescription(); }};
    // The toolkit owns it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    return new AccessibleSlider(this, std::move(access));
}

QSize Scrubber::sizeHint() const {
    return {200, static_cast<int>(std::ceil(ScrubberMetrics::kHeight))};
}

ScrubberLayout Scrubber::presentLayout() const {
    return layOutScrubber(sizeOf(size()), model_.fraction(), pixelGridOf(*this),
                          control_colors::increasesContrast());
}

void Scrubber::announce(const ScrubberOutcome& outcome) {
    if (outcome.didBeginTracking) {
        const double chosen = value();
        emit didBeginTracking();
        // The receiver sets the time of the clock, which is not where the user pressed.
        if (outcome.didChangeValue) {
            model_.setValue(chosen);
        }
    }
    if (outcome.didChangeValue) {
        update();
        announceValue();
        emit valueDidChange(value());
    }
    if (outcome.didEndTracking) {
        emit didEndTracking();
    }
}

void Scrubber::endTracking() {
    announce(model_.release());
}

void Scrubber::step(double share) {
    announce(model_.step(share));
}

void Scrubber::scroll(QWheelEvent* event) {
    const ScrubberScroll scroll = scrollOf(*event);
    if (scroll.delta == 0 && !scroll.begins && !scroll.ends) {
        event->ignore();
        return;
    }
    announce(model_.scroll(scroll, presentLayout()));
    event->accept();
}

bool Scrubber::event(QEvent* event) {
    // A drag ends with the button that began it, or with the window that loses it.
    if (event->type() == QEvent::UngrabMouse || event->type() == QEvent::WindowDeactivate) {
        endTracking();
    }
    return QWidget::event(event);
}

void Scrubber::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    announce(model_.press(event->position().x(), event->position().y(), presentLayout()));
}

void Scrubber::mouseMoveEvent(QMouseEvent* event) {
    const double x = event->position().x();
    if (model_.isTracking()) {
        announce(model_.drag(x, presentLayout()));
    }
    emit hoverDidChange(model_.valueAt(x, presentLayout()), x);
}

void Scrubber::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        endTracking();
    }
}

void Scrubber::leaveEvent(QEvent* /*event*/) {
    emit hoverDidChange(std::nullopt, 0);
}

void Scrubber::wheelEvent(QWheelEvent* event) {
    scroll(event);
}

void Scrubber::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Left:
        step(-kKeyStep);
        break;
    case Qt::Key_Right:
        step(kKeyStep);
        break;
    default:
        event->ignore();
    }
}

void Scrubber::focusInEvent(QFocusEvent* event) {
    showsFocus_ = isFocusByKeyboard(*event);
    update();
}

void Scrubber::focusOutEvent(QFocusEvent* /*event*/) {
    showsFocus_ = false;
    update();
}

void Scrubber::hideEvent(QHideEvent* /*event*/) {
    endTracking();
    emit hoverDidChange(std::nullopt, 0);
}

void Scrubber::paintEvent(QPaintEvent* /*event*/) {
    const ScrubberLayout layout = presentLayout();
    const QColor knob = isEnabled() ? control_colors::knob() : control_colors::disabledSymbol();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    fillPartOfBar(painter, layout, layout.barLeftClipRect, accentColor(palette()));
    fillPartOfBar(painter, layout, layout.barRightClipRect, control_colors::track());
    painter.setBrush(knob);
    painter.drawRoundedRect(qtRect(layout.knobRect), ScrubberMetrics::kKnobCornerRadius,
                            ScrubberMetrics::kKnobCornerRadius);
    if (showsFocus_) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(accentColor(palette()), kFocusRingWidth));
        const double grow = kFocusRingWidth;
        painter.drawRoundedRect(qtRect(layout.knobRect).adjusted(-grow, -grow / 2, grow, grow / 2),
                                ScrubberMetrics::kKnobCornerRadius + grow,
                                ScrubberMetrics::kKnobCornerRadius + grow);
    }
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/views/floating_controls.h"

#include <utility>

#include <QMouseEvent>

#include "player_window/controls/control_colors.h"
#include "player_window/controls/panel_painting.h"

namespace zelvane {
namespace {

constexpr double kCornerRadius = 10;

} // namespace

FloatingControls::FloatingControls(PaintPicture paintPicture, QWidget* parent)
    : FadingPanel(parent), paintPicture_(std::move(paintPicture)) {}

void FloatingControls::mousePressEvent(QMouseEvent* event) {
    event->accept();
}

bool FloatingControls::paintBackdrop(QPainter& painter) const {
    if (control_colors::increasesContrast()) {
        return false;
    }
    const QRect inWindow(mapTo(window(), QPoint(0, 0)), size());
    const QImage image = Backdrop::make(paintPicture_, inWindow, devicePixelRatio());
    if (image.isNull()) {
        return false;
    }
    QBrush brush(image);
    brush.setTransform(QTransform::fromTranslate(-Backdrop::kReduction, -Backdrop::kReduction)
                           .scale(Backdrop::kReduction, Backdrop::kReduction));
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    fillRounded(painter, *this, rect(), kCornerRadius, brush);
    return true;
}

void FloatingControls::paintGround(QPainter& painter) {
    painter.setRenderHint(QPainter::Antialiasing);
    const bool hasBackdrop = paintBackdrop(painter);
    fillRounded(painter, *this, rect(), kCornerRadius, control_colors::panel(hasBackdrop));
    paintHairline(painter, *this, rect(), kCornerRadius);
}

} // namespace zelvane

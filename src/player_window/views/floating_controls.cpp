// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/views/floating_controls.h"

#include <array>
#include <utility>

#include <QMouseEvent>

#include "player_window/controls/control_colors.h"
#include "player_window/controls/panel_painting.h"

namespace zelvane {
namespace {

constexpr double kCornerRadius = 10;

/// Parts of a panel with so few spans of pixels that Qt fills them on this thread. To wake others
/// for each picture takes longer than the fill.
std::array<QRect, 4> partsOf(const QRect& panel) {
    constexpr int kCorner = static_cast<int>(kCornerRadius);
    const QRect middle = panel.adjusted(0, kCorner, 0, -kCorner);
    const int half = panel.width() / 2;
    return {QRect(panel.left(), panel.top(), panel.width(), kCorner),
            middle.adjusted(0, 0, -half, 0), middle.adjusted(middle.width() - half, 0, 0, 0),
            QRect(panel.left(), middle.bottom() + 1, panel.width(), kCorner)};
}

} // namespace

FloatingControls::FloatingControls(PaintPicture paintPicture, QWidget* parent)
    : FadingPanel(parent), paintPicture_(std::move(paintPicture)) {}

void FloatingControls::mousePressEvent(QMouseEvent* event) {
    event->accept();
}

QBrush FloatingControls::ground() const {
    QImage image;
    if (!control_colors::increasesContrast()) {
        const QRect inWindow(mapTo(window(), QPoint(0, 0)), size());
        image = Backdrop::make(paintPicture_, inWindow, control_colors::panel(true));
    }
    if (image.isNull()) {
        return control_colors::panel(false);
    }
    QBrush brush(image);
    brush.setTransform(QTransform::fromTranslate(-Backdrop::kReduction, -Backdrop::kReduction)
                           .scale(Backdrop::kReduction, Backdrop::kReduction));
    return brush;
}

void FloatingControls::paintGround(QPainter& painter) {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QBrush brush = ground();
    for (const QRect& part : partsOf(rect())) {
        painter.setClipRect(part);
        fillRounded(painter, *this, rect(), kCornerRadius, brush);
        paintHairline(painter, *this, rect(), kCornerRadius);
    }
    painter.setClipping(false);
}

} // namespace zelvane

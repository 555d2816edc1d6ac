// SPDX-License-Identifier: GPL-3.0-or-later
#include "preferences/color_button.h"

#include <utility>

#include <QColorDialog>
#include <QPainter>
#include <QPixmap>

namespace zelvane {
namespace {

constexpr QSize kSwatchSize(36, 16);
constexpr double kRadius = 3;
constexpr float kBorderOpacity = 0.45F;

QIcon swatch(const QColor& color, const QColor& border, double devicePixelRatio) {
    QPixmap pixmap(kSwatchSize * devicePixelRatio);
    pixmap.setDevicePixelRatio(devicePixelRatio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(color);
    painter.setPen(border);
    painter.drawRoundedRect(QRectF(QPointF(0.5, 0.5), kSwatchSize - QSize(1, 1)), kRadius, kRadius);
    painter.end();
    return pixmap;
}

} // namespace

ColorButton::ColorButton(QString name) : name_(std::move(name)) {
    setAutoDefault(false);
    setIconSize(kSwatchSize);
    connect(this, &QPushButton::clicked, this, &ColorButton::choose);
}

void ColorButton::setColor(const QColor& color) {
    color_ = color;
    QColor border = palette().color(QPalette::ButtonText);
    border.setAlphaF(kBorderOpacity);
    setIcon(swatch(color, border, devicePixelRatio()));
    setAccessibleName(tr("%1: %2").arg(name_, color.name()));
    setToolTip(color.name());
}

void ColorButton::change(const QColor& color) {
    if (color.isValid() && color != color_) {
        setColor(color);
        emit colorDidChange(color);
    }
}

void ColorButton::choose() {
    // Deleted when it is closed. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    auto* dialog = new QColorDialog(color_, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(name_);
    connect(dialog, &QColorDialog::currentColorChanged, this, &ColorButton::change);
    connect(dialog, &QColorDialog::colorSelected, this, &ColorButton::change);
    connect(dialog, &QColorDialog::rejected, this, [this, earlier = color_] { change(earlier); });
    dialog->open();
}

} // namespace zelvane

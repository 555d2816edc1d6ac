// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/views/hover_bubble.h"

#include <algorithm>

#include <QPainter>

#include "player_window/controls/control_colors.h"
#include "player_window/controls/panel_painting.h"

namespace zelvane {
namespace {

constexpr int kFontSize = 12;
constexpr int kPaddingX = 9;
constexpr int kHeight = 24;
constexpr int kMargin = 8;
constexpr double kCornerRadius = 6;

} // namespace

HoverBubble::HoverBubble(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);
    QFont font = this->font();
    font.setPixelSize(kFontSize);
    font.setWeight(QFont::DemiBold);
    setFont(font);
    hide();
}

void HoverBubble::showText(const QString& text, const QPoint& anchor) {
    const bool changed = text != text_;
    text_ = text;
    const int width = fontMetrics().horizontalAdvance(text) + 2 * kPaddingX;
    const int right = std::max(parentWidget()->width() - width - kMargin, kMargin);
    setGeometry(std::clamp(anchor.x() - width / 2, kMargin, right), anchor.y() - kHeight, width,
                kHeight);
    raise();
    show();
    if (changed) {
        update();
    }
}

void HoverBubble::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    // Opaque: subtitles can be under it.
    fillRounded(painter, *this, rect(), kCornerRadius, control_colors::kPanel);
    paintHairline(painter, *this, rect(), kCornerRadius);
    painter.setPen(Qt::white);
    painter.drawText(rect(), Qt::AlignCenter, text_);
}

} // namespace zelvane

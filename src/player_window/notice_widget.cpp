// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/notice_widget.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include <QFontMetricsF>
#include <QPainter>

#include "player_window/views/player_view_layout.h"

namespace zelvane {
namespace {

constexpr std::chrono::milliseconds kDuration{1200};
constexpr int kMargin = 16;
constexpr int kTop = static_cast<int>(kTitleBarHeight) + 12;
constexpr int kPaddingX = 12;
constexpr int kPaddingY = 7;
constexpr double kCornerRadius = 7;
constexpr QColor kGround(0x14, 0x16, 0x1a, 0xd2);
constexpr QColor kText(0xf0, 0xf1, 0xf3);

} // namespace

NoticeWidget::NoticeWidget(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);
    setFocusPolicy(Qt::NoFocus);
    QFont larger = font();
    larger.setPointSizeF(larger.pointSizeF() * 1.2);
    setFont(larger);
    timer_.setSingleShot(true);
    timer_.setInterval(kDuration);
    timer_.callOnTimeout(this, &QWidget::hide);
    hide();
}

void NoticeWidget::showText(const QString& text) {
    text_ = text;
    // Assistive technology reads the name of what appears.
    setAccessibleName(text);
    fitToParent();
    raise();
    show();
    update();
    timer_.start();
    setAccessibleName(text);
    announceText(*this, text);
}

QAccessibleInterface* NoticeWidget::makeAccessible() {
    // The toolkit owns it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    return new QAccessibleWidget(this, QAccessible::Notification);
}

void NoticeWidget::fitToParent() {
    const QFontMetricsF metrics(font());
    const int width = static_cast<int>(std::ceil(metrics.horizontalAdvance(text_))) + 2 * kPaddingX;
    const int available = parentWidget()->width() - 2 * kMargin;
    setGeometry(kMargin, kTop, std::clamp(width, 0, std::max(available, 0)),
                static_cast<int>(std::ceil(metrics.height())) + 2 * kPaddingY);
}

void NoticeWidget::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(kGround);
    painter.drawRoundedRect(rect(), kCornerRadius, kCornerRadius);
    painter.setPen(kText);
    const QRect place = rect().adjusted(kPaddingX, 0, -kPaddingX, 0);
    painter.drawText(place, Qt::AlignLeft | Qt::AlignVCenter,
                     fontMetrics().elidedText(text_, Qt::ElideRight, place.width()));
}

} // namespace zelvane

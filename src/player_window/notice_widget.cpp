// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/notice_widget.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include <QFontMetricsF>
#include <QPainter>

#include "player_window/controls/control_colors.h"
#include "player_window/controls/panel_painting.h"

namespace zelvane {
namespace {

constexpr std::chrono::milliseconds kDuration{1200};
constexpr int kFontSizeOverPicture = 14;
constexpr int kFontSizeInTitleBar = 13;
constexpr int kPaddingX = 12;
constexpr int kHeightOverPicture = 32;
constexpr int kHeightInTitleBar = 26;
constexpr double kCornerRadius = 7;

} // namespace

NoticeWidget::NoticeWidget(Place place, QWidget* parent) : QWidget(parent), place_(place) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);
    setFocusPolicy(Qt::NoFocus);
    QFont font = this->font();
    font.setPixelSize(place == Place::overPicture ? kFontSizeOverPicture : kFontSizeInTitleBar);
    setFont(font);
    timer_.setSingleShot(true);
    timer_.setInterval(kDuration);
    timer_.callOnTimeout(this, &QWidget::hide);
    hide();
}

void NoticeWidget::setRoom(const QRect& room) {
    room_ = room;
    layOut();
}

void NoticeWidget::showText(const QString& text) {
    text_ = text;
    // Assistive technology reads the name of what appears.
    setAccessibleName(text);
    layOut();
    raise();
    show();
    update();
    timer_.start();
    announceText(*this, text);
}

QAccessibleInterface* NoticeWidget::makeAccessible() {
    // The toolkit owns it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    return new QAccessibleWidget(this, QAccessible::Notification);
}

QSize NoticeWidget::sizeOfPill() const {
    // Eliding compares widths that are not rounded.
    const double advance = QFontMetricsF(font()).horizontalAdvance(text_);
    const int wanted = static_cast<int>(std::ceil(advance)) + 1 + 2 * kPaddingX;
    const int height = place_ == Place::overPicture ? kHeightOverPicture : kHeightInTitleBar;
    return {std::clamp(wanted, 0, std::max(room_.width(), 0)), height};
}

void NoticeWidget::layOut() {
    setGeometry(place_ == Place::overPicture ? QRect(room_.topLeft(), sizeOfPill()) : room_);
}

void NoticeWidget::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QRect pill({}, sizeOfPill());
    pill.moveCenter(rect().center());
    if (place_ == Place::inTitleBar) {
        painter.fillRect(rect(), control_colors::kAudioWindow);
        fillRounded(painter, *this, pill, kCornerRadius, control_colors::hoverFill());
    } else {
        fillRounded(painter, *this, pill, kCornerRadius, control_colors::panel(false));
    }
    if (place_ == Place::overPicture || control_colors::increasesContrast()) {
        paintHairline(painter, *this, pill, kCornerRadius);
    }
    painter.setPen(control_colors::symbol());
    const QRect inside = pill.adjusted(kPaddingX, 0, -kPaddingX, 0);
    painter.drawText(inside, Qt::AlignCenter,
                     fontMetrics().elidedText(text_, Qt::ElideRight, inside.width()));
}

} // namespace zelvane

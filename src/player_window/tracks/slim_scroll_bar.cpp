// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/tracks/slim_scroll_bar.h"

#include <algorithm>

#include <QPainter>

#include "player_window/controls/control_colors.h"

namespace zelvane {
namespace {

constexpr double kHandleWidth = 4;
constexpr double kLeastHandleHeight = 24;
constexpr double kHandleOpacity = 0.4;

} // namespace

QSize SlimScrollBar::sizeHint() const {
    return {kWidth, static_cast<int>(kLeastHandleHeight)};
}

void SlimScrollBar::paintEvent(QPaintEvent* /*event*/) {
    const double range = maximum() - minimum();
    if (!(range > 0)) {
        return;
    }
    const double handle =
        std::min(std::max(height() * pageStep() / (range + pageStep()), kLeastHandleHeight),
                 static_cast<double>(height()));
    const double top = (height() - handle) * (value() - minimum()) / range;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(control_colors::white(kHandleOpacity));
    painter.drawRoundedRect(QRectF((width() - kHandleWidth) / 2, top, kHandleWidth, handle),
                            kHandleWidth / 2, kHandleWidth / 2);
}

} // namespace zelvane

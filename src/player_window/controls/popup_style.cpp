// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/popup_style.h"

#include <algorithm>
#include <memory>

#include <QApplication>
#include <QPainter>
#include <QProxyStyle>
#include <QStyleOption>
#include <QToolTip>

#include "player_window/controls/control_colors.h"

namespace zelvane {
namespace {

constexpr int kMenuMargin = 4;
constexpr double kLineOpacity = 0.2;
constexpr double kLineOpacityInHighContrast = 0.8;

class PopupStyle final : public QProxyStyle {
  public:
    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override {
        if (element == PE_FrameMenu) {
            drawEdge(*painter, *option);
        } else if (element == PE_PanelTipLabel) {
            painter->fillRect(option->rect, option->palette.toolTipBase());
            drawEdge(*painter, *option);
        } else {
            QProxyStyle::drawPrimitive(element, option, painter, widget);
        }
    }

    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override {
        const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
        if (element == CE_MenuItem && item != nullptr &&
            item->menuItemType == QStyleOptionMenuItem::Separator && item->text.isEmpty()) {
            painter->fillRect(option->rect, option->palette.window());
            const QRect& rect = option->rect;
            painter->fillRect(QRect(rect.left(), rect.center().y(), rect.width(), 1),
                              lineColor(*option));
        } else {
            QProxyStyle::drawControl(element, option, painter, widget);
        }
    }

    int pixelMetric(PixelMetric metric, const QStyleOption* option,
                    const QWidget* widget) const override {
        const int points = QProxyStyle::pixelMetric(metric, option, widget);
        switch (metric) {
        case PM_MenuPanelWidth:
            return std::max(points, 1);
        case PM_MenuVMargin:
            return std::max(points, kMenuMargin);
        default:
            return points;
        }
    }

  private:
    static QColor lineColor(const QStyleOption& option) {
        QColor color = option.palette.color(QPalette::WindowText);
        color.setAlphaF(static_cast<float>(
            control_colors::increasesContrast() ? kLineOpacityInHighContrast : kLineOpacity));
        return color;
    }

    static void drawEdge(QPainter& painter, const QStyleOption& option) {
        painter.save();
        painter.setPen(lineColor(option));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(option.rect.adjusted(0, 0, -1, -1));
        painter.restore();
    }
};

} // namespace

void applyPopupStyle() {
    QToolTip::setPalette(control_colors::menuPalette());
    // The application owns it.
    QApplication::setStyle(std::make_unique<PopupStyle>().release());
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/control_colors.h"

#include <algorithm>
#include <cmath>

#include <QGuiApplication>

#include "player_window/desktop/desktop_settings.h"

namespace zelvane {
namespace {

constexpr double kLeastContrast = 4.5;
/// The panel over white. A lower contrast is enough there: white is rare, and the knob is visible.
constexpr QColor kPanelOverWhite(0x66, 0x66, 0x68);
constexpr double kLeastContrastOverWhite = 2.5;

double linear(double component) {
    return component <= 0.04045 ? component / 12.92 : std::pow((component + 0.055) / 1.055, 2.4);
}

double relativeLuminance(const QColor& color) {
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
}

QColor mixedWithWhite(const QColor& color, double share) {
    const auto mixed = [share](double component) { return component + (1 - component) * share; };
    return QColor::fromRgbF(static_cast<float>(mixed(color.redF())),
                            static_cast<float>(mixed(color.greenF())),
                            static_cast<float>(mixed(color.blueF())));
}

} // namespace

QColor control_colors::white(double opacity) {
    return QColor::fromRgbF(1, 1, 1, static_cast<float>(opacity));
}

bool control_colors::increasesContrast() {
    return DesktopSettings::shared().preferences().increasesContrast;
}

QColor control_colors::symbol() {
    return white(increasesContrast() ? 1 : 0.92);
}

QColor control_colors::disabledSymbol() {
    return white(increasesContrast() ? 0.55 : 0.32);
}

QColor control_colors::hoverFill() {
    return white(increasesContrast() ? 0.25 : 0.12);
}

QColor control_colors::pressedFill() {
    return white(increasesContrast() ? 0.40 : 0.20);
}

QColor control_colors::hairline() {
    return white(increasesContrast() ? 0.80 : 0.12);
}

QColor control_colors::track() {
    return white(increasesContrast() ? 0.51 : 0.26);
}

QColor control_colors::knob() {
    return white(increasesContrast() ? 1 : 0.95);
}

QColor control_colors::panel(bool isOverBlurredPicture) {
    QColor color = kPanel;
    const float opacity = isOverBlurredPicture ? 0.68F : 0.88F;
    color.setAlphaF(increasesContrast() ? 1 : opacity);
    return color;
}

QPalette control_colors::menuPalette() {
    QPalette palette(kPanel);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText,
                            QPalette::HighlightedText, QPalette::ToolTipText}) {
        palette.setColor(role, QColor(0xeb, 0xeb, 0xeb));
        palette.setColor(QPalette::Disabled, role, QColor(0x8a, 0x8a, 0x8c));
    }
    for (const auto role :
         {QPalette::Window, QPalette::Base, QPalette::Button, QPalette::ToolTipBase}) {
        palette.setColor(role, kPanel);
    }
    palette.setColor(QPalette::Highlight, QGuiApplication::palette().color(QPalette::Highlight));
    return palette;
}

double contrastRatio(const QColor& a, const QColor& b) {
    const double first = relativeLuminance(a);
    const double second = relativeLuminance(b);
    return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

QColor accentColor(const QPalette& palette) {
    const QColor accent = palette.color(QPalette::Active, QPalette::Highlight);
    constexpr int kSteps = 20;
    for (int step = 0; step < kSteps; ++step) {
        const QColor candidate = mixedWithWhite(accent, static_cast<double>(step) / kSteps);
        if (contrastRatio(candidate, control_colors::kPanel) >= kLeastContrast &&
            contrastRatio(candidate, kPanelOverWhite) >= kLeastContrastOverWhite) {
            return candidate;
        }
    }
    return Qt::white;
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/desktop/color_scheme.h"

#include <QApplication>

#include "player_window/desktop/desktop_settings.h"

namespace zelvane {
namespace {

struct SchemeColors {
    QColor window;
    QColor button;
    QColor base;
    QColor text;
    QColor disabledText;
    QColor link;
};

constexpr SchemeColors kDark{{0x2a, 0x2a, 0x2d}, {0x3c, 0x3c, 0x40}, {0x45, 0x45, 0x4a},
                             {0xeb, 0xeb, 0xeb}, {0x8a, 0x8a, 0x8c}, {0x7a, 0xb8, 0xff}};
constexpr SchemeColors kLight{{0xf2, 0xf2, 0xf3}, {0xf6, 0xf6, 0xf7}, {0xff, 0xff, 0xff},
                              {0x1e, 0x1e, 0x20}, {0x8a, 0x8a, 0x8c}, {0x0b, 0x5f, 0xb8}};

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::Window).lightness() <
           palette.color(QPalette::WindowText).lightness();
}

QPalette paletteOf(const SchemeColors& colors, const QPalette& own) {
    QPalette palette(colors.button, colors.window);
    for (const auto role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText}) {
        palette.setColor(role, colors.text);
        palette.setColor(QPalette::Disabled, role, colors.disabledText);
    }
    palette.setColor(QPalette::Base, colors.base);
    palette.setColor(QPalette::AlternateBase, colors.window);
    palette.setColor(QPalette::ToolTipBase, colors.base);
    palette.setColor(QPalette::PlaceholderText, colors.disabledText);
    palette.setColor(QPalette::Link, colors.link);
    palette.setColor(QPalette::Highlight, own.color(QPalette::Highlight));
    palette.setColor(QPalette::HighlightedText, own.color(QPalette::HighlightedText));
    return palette;
}

void applyScheme(const QPalette& own) {
    const ColorScheme scheme = DesktopSettings::shared().preferences().colorScheme;
    QApplication::setPalette(paletteForScheme(scheme, own));
}

} // namespace

QPalette paletteForScheme(ColorScheme scheme, const QPalette& own) {
    if (scheme == ColorScheme::noPreference || isDark(own) == (scheme == ColorScheme::dark)) {
        return own;
    }
    return paletteOf(scheme == ColorScheme::dark ? kDark : kLight, own);
}

void followColorScheme() {
    const QPalette own = QApplication::palette();
    QObject::connect(&DesktopSettings::shared(), &DesktopSettings::didChange, qApp,
                     [own] { applyScheme(own); });
    applyScheme(own);
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QPalette>

namespace zelvane {

/// The colours of the controls, which are light on dark whatever the desktop's own are. They follow
/// the desktop's preference for contrast: a widget asks for them each time that it paints. Main
/// thread.
namespace control_colors {

inline constexpr QColor kPanel(0x1e, 0x1e, 0x20);
inline constexpr QColor kAudioWindow(0x2a, 0x2a, 0x2d);

/// White of this opacity, 0…1.
QColor white(double opacity);
/// Whether the user wants more contrast.
bool increasesContrast();
QColor symbol();
QColor disabledSymbol();
QColor hoverFill();
QColor pressedFill();
/// Of the lines at the edges of panels.
QColor hairline();
/// The part of a bar that is still to come.
QColor track();
/// Of the scrubber.
QColor knob();
/// The ground of a panel over a picture; more transparent where the picture under it is blurred.
QColor panel(bool isOverBlurredPicture);
/// For menus and tooltips of the toolkit's style: light text on the ground of the panels.
QPalette menuPalette();

} // namespace control_colors

/// The accent colour of the desktop, lightened until it contrasts with the panel over any
/// picture: a contrast of 4.5:1 over black and of 2.5:1 over white.
QColor accentColor(const QPalette& palette);

/// The contrast of two opaque colours, 1…21, by WCAG 2.1.
double contrastRatio(const QColor& a, const QColor& b);

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>

#include "text/string_attributes.h"

namespace zelvane {

/// Clamps the components to their range.
QColor qColor(const SRGBColor& color);

/// Multiplies the alpha by `coverage`, from 0 to 1.
QRgb premultiplied(const SRGBColor& color, double coverage);

} // namespace zelvane

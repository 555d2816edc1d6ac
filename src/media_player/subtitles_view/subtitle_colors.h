// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>

#include "text/string_attributes.h"

namespace zelvane {

/// Components beyond their range are the nearest within.
QColor qColor(const SRGBColor& color);

/// With the alpha times `coverage`, from 0 to 1.
QRgb premultiplied(const SRGBColor& color, double coverage);

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "subtitles_view/subtitle_colors.h"

#include <algorithm>
#include <cmath>

namespace zelvane {
namespace {

double component(double value) {
    return std::isfinite(value) ? std::clamp(value, 0.0, 1.0) : 0.0;
}

int byte(double value) {
    return static_cast<int>(std::lround(value * 255));
}

} // namespace

QColor qColor(const SRGBColor& color) {
    return {byte(component(color.red)), byte(component(color.green)), byte(component(color.blue)),
            byte(component(color.alpha))};
}

QRgb premultiplied(const SRGBColor& color, double coverage) {
    const double alpha = component(color.alpha) * coverage;
    return qRgba(byte(component(color.red) * alpha), byte(component(color.green) * alpha),
                 byte(component(color.blue) * alpha), byte(alpha));
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/geometry.h"

#include <algorithm>
#include <array>

namespace zelvane {

CGRect applyAffineTransform(const CGRect& rect, const CGAffineTransform& t) {
    const std::array<double, 2> xs{rect.x, rect.x + rect.width};
    const std::array<double, 2> ys{rect.y, rect.y + rect.height};
    std::array<double, 4> outX{};
    std::array<double, 4> outY{};
    for (std::size_t corner = 0; corner < 4; ++corner) {
        const double x = xs[corner % 2];
        const double y = ys[corner / 2];
        outX[corner] = t.a * x + t.c * y + t.tx;
        outY[corner] = t.b * x + t.d * y + t.ty;
    }
    const auto [left, right] = std::minmax_element(outX.begin(), outX.end());
    const auto [top, bottom] = std::minmax_element(outY.begin(), outY.end());
    return {*left, *top, *right - *left, *bottom - *top};
}

} // namespace zelvane

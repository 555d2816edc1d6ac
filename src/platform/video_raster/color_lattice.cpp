// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/video_raster/color_lattice.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace zelvane::raster {
namespace {

constexpr double kCornerScale = 255.0 * 256;

std::uint16_t cornerValue(double code) {
    return static_cast<std::uint16_t>(std::lround(std::clamp(code, 0.0, 1.0) * kCornerScale));
}

/// A colour's offset in its cell along an axis, and the index step to that axis's next corner.
struct Step {
    int fraction;
    int stride;
};

} // namespace

ColorLattice::ColorLattice(const std::function<Vector3(const Vector3&)>& function)
    : corners_(static_cast<std::size_t>(kRedStride) * kCorners) {
    const auto codeAt = [](int corner) { return std::min(corner, kCells) / double{kCells}; };
    for (int red = 0; red < kCorners; ++red) {
        for (int green = 0; green < kCorners; ++green) {
            for (int blue = 0; blue < kCorners; ++blue) {
                const auto value = function({codeAt(red), codeAt(green), codeAt(blue)});
                const int corner = red * kRedStride + green * kGreenStride + blue;
                corners_[static_cast<std::size_t>(corner)] = {
                    cornerValue(value[0]), cornerValue(value[1]), cornerValue(value[2])};
            }
        }
    }
}

void ColorLattice::convert(const std::uint16_t* const codes[3], std::uint8_t* pixels,
                           std::size_t count) const {
    for (std::size_t i = 0; i < count; ++i) {
        const int red = codes[0][i];
        const int green = codes[1][i];
        const int blue = codes[2][i];
        const Corner* corner = corners_.data() + red / kCodesPerCell * kRedStride +
                               green / kCodesPerCell * kGreenStride + blue / kCodesPerCell;
        Step steps[3] = {{red % kCodesPerCell, kRedStride},
                         {green % kCodesPerCell, kGreenStride},
                         {blue % kCodesPerCell, 1}};
        const auto order = [&](int a, int b) {
            if (steps[a].fraction < steps[b].fraction) {
                std::swap(steps[a], steps[b]);
            }
        };
        order(0, 1);
        order(1, 2);
        order(0, 1);
        const int weights[4] = {kCodesPerCell - steps[0].fraction,
                                steps[0].fraction - steps[1].fraction,
                                steps[1].fraction - steps[2].fraction, steps[2].fraction};
        constexpr int kOne = kCodesPerCell * 256;
        int sums[3] = {kOne / 2, kOne / 2, kOne / 2};
        for (int step = 0; step < 4; ++step) {
            sums[0] += weights[step] * corner->red;
            sums[1] += weights[step] * corner->green;
            sums[2] += weights[step] * corner->blue;
            corner += step < 3 ? steps[step].stride : 0;
        }
        const auto pixel =
            0xff000000U |
            static_cast<std::uint32_t>(sums[0] / kOne << 16 | sums[1] / kOne << 8 | sums[2] / kOne);
        std::memcpy(pixels + 4 * i, &pixel, sizeof pixel);
    }
}

} // namespace zelvane::raster

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "platform/video_raster/color_math.h"

namespace zelvane::raster {

/// A function of three channels, stored at the corners of a cube's cells and interpolated on
/// tetrahedra, which keeps greys grey. Immutable.
class ColorLattice {
  public:
    /// The largest code; the smallest is 0.
    static constexpr int kCodeLimit = 4096;

    /// `function` takes and gives R'G'B' in 0…1.
    explicit ColorLattice(const std::function<Vector3(const Vector3&)>& function);

    /// Writes `count` pixels B, G, R, 255.
    void convert(const std::uint16_t* const codes[3], std::uint8_t* pixels,
                 std::size_t count) const;

  private:
    static constexpr int kCells = 64;
    static constexpr int kCodesPerCell = kCodeLimit / kCells;
    /// One more than cells, and one more for codes at the limit.
    static constexpr int kCorners = kCells + 2;
    static constexpr int kRedStride = kCorners * kCorners;
    static constexpr int kGreenStride = kCorners;

    /// Each is 256 times a pixel's value.
    struct Corner {
        std::uint16_t red;
        std::uint16_t green;
        std::uint16_t blue;
    };
    std::vector<Corner> corners_;
};

} // namespace zelvane::raster

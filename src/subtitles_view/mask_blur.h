// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace zelvane {

/// The distance that a blur of this deviation, in pixels, extends.
int blurReach(double deviation);

/// Blurs a picture of one byte a pixel by a Gaussian of this deviation, to within 3 %, in a time
/// that does not depend on the deviation. Pixels outside the picture are 0. Rows are `stride` bytes
/// apart.
void blurMask(std::span<std::uint8_t> pixels, int width, int height, std::size_t stride,
              double deviation);

} // namespace zelvane

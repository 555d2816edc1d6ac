// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace zelvane {

/// How far a blur of this deviation, in pixels, reaches beyond what is blurred.
int blurReach(double deviation);

/// Blurs a picture of one byte a pixel as a Gaussian of this deviation would, to within 3 %, at a
/// cost that does not grow with the deviation. Outside the picture is 0. Rows are `stride` bytes
/// apart.
void blurMask(std::span<std::uint8_t> pixels, int width, int height, std::size_t stride,
              double deviation);

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "subtitles_view/mask_blur.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <numeric>
#include <vector>

namespace zelvane {
namespace {

/// The mean of the pixels from `before` on one side to `after` on the other.
struct Box {
    int before = 0;
    int after = 0;
};

/// The side of the box that approximates a Gaussian when it is applied three times (SVG 1.1,
/// 15.17).
int boxSide(double deviation) {
    return static_cast<int>(std::floor(deviation * 3 * std::sqrt(2 * std::numbers::pi) / 4 + 0.5));
}

/// Boxes of an even side are off by half a pixel, in alternating directions.
std::array<Box, 3> boxes(int side) {
    const int half = side / 2;
    if (side % 2 == 1) {
        return {{{half, half}, {half, half}, {half, half}}};
    }
    return {{{half, half - 1}, {half - 1, half}, {half, half}}};
}

/// Converts sums of a box's pixels to their mean.
class Mean {
  public:
    explicit Mean(const Box& box)
        : factor_((1U << kShift) / static_cast<unsigned>(box.before + box.after + 1)) {}
    std::uint8_t operator()(std::uint32_t sum) const {
        return static_cast<std::uint8_t>((sum * factor_ + (1U << (kShift - 1))) >> kShift);
    }

  private:
    // The sum of a box times the factor is at most 255 << kShift for any side.
    static constexpr unsigned kShift = 23;
    std::uint32_t factor_;
};

/// Blurs row after row, each through all boxes while it is in the cache.
class Rows {
  public:
    Rows(int width, const std::array<Box, 3>& boxes)
        : width_(static_cast<std::size_t>(width)), boxes_(boxes) {}

    void blur(std::uint8_t* row) {
        for (const Box& box : boxes_) {
            const auto before = static_cast<std::size_t>(box.before);
            const auto after = static_cast<std::size_t>(box.after);
            // Zeros on both sides avoid special cases.
            padded_.assign(before + width_ + after + 1, 0);
            std::copy_n(row, width_, padded_.data() + before);
            sumUp(row, before + after, Mean(box));
        }
    }

  private:
    void sumUp(std::uint8_t* row, std::size_t others, const Mean& mean) const {
        const std::uint8_t* source = padded_.data();
        std::uint32_t sum = std::accumulate(source, source + others, 0U);
        for (std::size_t x = 0; x < width_; ++x) {
            sum += source[x + others];
            row[x] = mean(sum);
            sum -= source[x];
        }
    }

    const std::size_t width_;
    const std::array<Box, 3>& boxes_;
    std::vector<std::uint8_t> padded_;
};

class Columns {
  public:
    Columns(int width, int height, std::size_t stride)
        : width_(static_cast<std::size_t>(width)), height_(height), stride_(stride) {}

    void blur(const std::uint8_t* source, std::uint8_t* target, const Box& box) {
        const Mean mean(box);
        sums_.assign(width_, 0);
        for (int y = 0; y < std::min(box.after, height_); ++y) {
            add(row(source, y));
        }
        for (int y = 0; y < height_; ++y) {
            if (y + box.after < height_) {
                add(row(source, y + box.after));
            }
            std::uint8_t* out = target + static_cast<std::size_t>(y) * stride_;
            for (std::size_t x = 0; x < width_; ++x) {
                out[x] = mean(sums_[x]);
            }
            if (y - box.before >= 0) {
                subtract(row(source, y - box.before));
            }
        }
    }

  private:
    const std::uint8_t* row(const std::uint8_t* pixels, int y) const {
        return pixels + static_cast<std::size_t>(y) * stride_;
    }
    void add(const std::uint8_t* pixels) {
        for (std::size_t x = 0; x < width_; ++x) {
            sums_[x] += pixels[x];
        }
    }
    void subtract(const std::uint8_t* pixels) {
        for (std::size_t x = 0; x < width_; ++x) {
            sums_[x] -= pixels[x];
        }
    }

    std::size_t width_;
    int height_;
    std::size_t stride_;
    std::vector<std::uint32_t> sums_;
};

} // namespace

int blurReach(double deviation) {
    const int side = boxSide(deviation);
    return side < 2 ? 0 : 3 * (side / 2 + 1);
}

void blurMask(std::span<std::uint8_t> pixels, int width, int height, std::size_t stride,
              double deviation) {
    const int side = boxSide(deviation);
    if (side < 2 || width < 1 || height < 1) {
        return;
    }
    const auto threeBoxes = boxes(side);
    Rows rows(width, threeBoxes);
    for (int y = 0; y < height; ++y) {
        rows.blur(pixels.data() + static_cast<std::size_t>(y) * stride);
    }
    std::vector<std::uint8_t> source;
    Columns columns(width, height, stride);
    for (const Box& box : threeBoxes) {
        source.assign(pixels.begin(), pixels.end());
        columns.blur(source.data(), pixels.data(), box);
    }
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/video_raster/smooth_curve.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace zelvane::raster {
namespace {

constexpr std::size_t kCount = kernels::Curve::kFactors;
using Polynomial = std::array<double, kCount>;

/// Coefficients of the polynomial through the curve at the Chebyshev nodes between `begin` and 1,
/// by divided differences.
Polynomial interpolated(const std::function<double(double)>& light, double begin) {
    Polynomial nodes{};
    Polynomial differences{};
    for (std::size_t i = 0; i < kCount; ++i) {
        const double angle = std::numbers::pi * (static_cast<double>(i) + 0.5) / kCount;
        nodes[i] = (1 + begin) / 2 + (1 - begin) / 2 * std::cos(angle);
        differences[i] = light(nodes[i]);
    }
    for (std::size_t order = 1; order < kCount; ++order) {
        for (std::size_t i = kCount - 1; i >= order; --i) {
            differences[i] = (differences[i] - differences[i - 1]) / (nodes[i] - nodes[i - order]);
        }
    }
    Polynomial factors{};
    for (std::size_t i = kCount; i-- > 0;) {
        for (std::size_t power = kCount - 1; power > 0; --power) {
            factors[power] = factors[power - 1] - nodes[i] * factors[power];
        }
        factors[0] = differences[i] - nodes[i] * factors[0];
    }
    return factors;
}

kernels::Curve curveWithToe(const std::function<double(double)>& light, double toe) {
    kernels::Curve curve{};
    curve.toe = static_cast<float>(toe);
    curve.toeSlope = toe > 0 ? static_cast<float>(light(toe) / toe) : 0.0F;
    const auto factors = interpolated(light, toe);
    std::transform(factors.begin(), factors.end(), curve.factors,
                   [](double factor) { return static_cast<float>(factor); });
    return curve;
}

bool isExact(const kernels::Curve& curve, const std::function<double(double)>& light) {
    constexpr int kSteps = 1000;
    for (int i = 0; i <= kSteps; ++i) {
        const double code = static_cast<double>(i) / kSteps;
        const double error = kernels::lightOf(curve, static_cast<float>(code)) - light(code);
        if (!(std::abs(error) <= kSmoothCurveError)) {
            return false;
        }
    }
    return true;
}

} // namespace

std::optional<kernels::Curve> smoothCurve(const std::function<double(double)>& light) {
    constexpr double kToeOfSRGB = 0.04045;
    for (const double toe : {0.0, kToeOfSRGB}) {
        const auto curve = curveWithToe(light, toe);
        if (isExact(curve, light)) {
            return curve;
        }
    }
    return std::nullopt;
}

} // namespace zelvane::raster

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/video_raster/smooth_curve.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace zelvane::raster {
namespace {

/// Coefficients of the polynomial through the function at the Chebyshev nodes between `begin` and
/// 1, by divided differences.
template <std::size_t count>
std::array<double, count> interpolated(const std::function<double(double)>& function,
                                       double begin) {
    std::array<double, count> nodes{};
    std::array<double, count> differences{};
    for (std::size_t i = 0; i < count; ++i) {
        const double angle = std::numbers::pi * (static_cast<double>(i) + 0.5) / count;
        nodes[i] = (1 + begin) / 2 + (1 - begin) / 2 * std::cos(angle);
        differences[i] = function(nodes[i]);
    }
    for (std::size_t order = 1; order < count; ++order) {
        for (std::size_t i = count - 1; i >= order; --i) {
            differences[i] = (differences[i] - differences[i - 1]) / (nodes[i] - nodes[i - order]);
        }
    }
    std::array<double, count> factors{};
    for (std::size_t i = count; i-- > 0;) {
        for (std::size_t power = count - 1; power > 0; --power) {
            factors[power] = factors[power - 1] - nodes[i] * factors[power];
        }
        factors[0] = differences[i] - nodes[i] * factors[0];
    }
    return factors;
}

template <std::size_t count>
void assign(float (&to)[count], const std::array<double, count>& from, double scale = 1) {
    std::transform(from.begin(), from.end(), to,
                   [scale](double factor) { return static_cast<float>(scale * factor); });
}

kernels::Curve curveWithToe(const std::function<double(double)>& light, double toe) {
    kernels::Curve curve{};
    curve.toe = static_cast<float>(toe);
    curve.toeSlope = toe > 0 ? static_cast<float>(light(toe) / toe) : 0.0F;
    assign(curve.factors, interpolated<kernels::Curve::kFactors>(light, toe));
    return curve;
}

/// Whether the two differ by `error` at most everywhere.
bool agree(const std::function<double(double)>& approximation,
           const std::function<double(double)>& function, double error) {
    constexpr int kSteps = 1000;
    for (int i = 0; i <= kSteps; ++i) {
        const double at = static_cast<double>(i) / kSteps;
        if (!(std::abs(approximation(at) - function(at)) <= error)) {
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
        const auto approximation = [&](double code) {
            return kernels::lightOf(curve, static_cast<float>(code));
        };
        if (agree(approximation, light, kSmoothCurveError)) {
            return curve;
        }
    }
    return std::nullopt;
}

std::optional<kernels::RootCurve> smoothRootCurve(const std::function<double(double)>& code) {
    kernels::RootCurve curve{};
    assign(curve.factors, interpolated<kernels::RootCurve::kFactors>(code, 0), 255);
    const auto approximation = [&](double root) {
        return kernels::codeOf(curve, static_cast<float>(root)) / 255;
    };
    return agree(approximation, code, kSmoothCodeError) ? std::optional(curve) : std::nullopt;
}

} // namespace zelvane::raster

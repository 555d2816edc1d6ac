// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/video_raster/color_math.h"

#include <algorithm>
#include <cmath>

namespace zelvane::raster {
namespace {

/// The profile connection space's white.
constexpr Vector3 kXYZD50{0.9642, 1.0, 0.8249};
constexpr Matrix3 kBradford{
    {{0.8951, 0.2664, -0.1614}, {-0.7502, 1.7135, 0.0367}, {0.0389, -0.0685, 1.0296}}};

Vector3 xyzOf(const Chromaticity& color) {
    return {color.x / color.y, 1, (1 - color.x - color.y) / color.y};
}

Matrix3 columns(const Vector3& a, const Vector3& b, const Vector3& c) {
    return {{{a[0], b[0], c[0]}, {a[1], b[1], c[1]}, {a[2], b[2], c[2]}}};
}

Matrix3 diagonal(const Vector3& values) {
    return {{{values[0], 0, 0}, {0, values[1], 0}, {0, 0, values[2]}}};
}

Matrix3 rgbToXYZ(const Primaries& primaries) {
    const auto colors =
        columns(xyzOf(primaries.red), xyzOf(primaries.green), xyzOf(primaries.blue));
    return colors * diagonal(inverse(colors) * xyzOf(primaries.white));
}

Matrix3 adaptationToD50(const Vector3& white) {
    const auto from = kBradford * white;
    const auto to = kBradford * kXYZD50;
    return inverse(kBradford) * diagonal({to[0] / from[0], to[1] / from[1], to[2] / from[2]}) *
           kBradford;
}

/// The spline of BT.2390 above the knee, with both axes as fractions of the source's peak.
double kneeSpline(double value, double knee, double maxLuminance) {
    const double t = (value - knee) / (1 - knee);
    const double t2 = t * t;
    const double t3 = t2 * t;
    return (2 * t3 - 3 * t2 + 1) * knee + (t3 - 2 * t2 + t) * (1 - knee) +
           (3 * t2 - 2 * t3) * maxLuminance;
}

} // namespace

Vector3 operator*(const Matrix3& matrix, const Vector3& vector) {
    Vector3 result{};
    for (std::size_t row = 0; row < 3; ++row) {
        result[row] =
            matrix[row][0] * vector[0] + matrix[row][1] * vector[1] + matrix[row][2] * vector[2];
    }
    return result;
}

Matrix3 operator*(const Matrix3& left, const Matrix3& right) {
    Matrix3 result{};
    for (std::size_t column = 0; column < 3; ++column) {
        const auto product = left * Vector3{right[0][column], right[1][column], right[2][column]};
        for (std::size_t row = 0; row < 3; ++row) {
            result[row][column] = product[row];
        }
    }
    return result;
}

Matrix3 inverse(const Matrix3& m) {
    const auto cofactor = [&](std::size_t row, std::size_t column) {
        const auto r1 = (row + 1) % 3;
        const auto r2 = (row + 2) % 3;
        const auto c1 = (column + 1) % 3;
        const auto c2 = (column + 2) % 3;
        return m[r1][c1] * m[r2][c2] - m[r1][c2] * m[r2][c1];
    };
    const double determinant =
        m[0][0] * cofactor(0, 0) + m[0][1] * cofactor(0, 1) + m[0][2] * cofactor(0, 2);
    Matrix3 result{};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            result[row][column] = cofactor(column, row) / determinant;
        }
    }
    return result;
}

Matrix3 rgbToXYZD50(const Primaries& primaries) {
    return adaptationToD50(xyzOf(primaries.white)) * rgbToXYZ(primaries);
}

LumaWeights lumaWeightsOf(const Primaries& primaries) {
    const auto matrix = rgbToXYZ(primaries);
    return {matrix[1][0], matrix[1][2]};
}

Matrix3 yCbCrToRGB(const LumaWeights& weights) {
    const double green = 1 - weights.red - weights.blue;
    const double toRed = 2 * (1 - weights.red);
    const double toBlue = 2 * (1 - weights.blue);
    return {{{1, 0, toRed},
             {1, -toBlue * weights.blue / green, -toRed * weights.red / green},
             {1, toBlue, 0}}};
}

double sRGBToLinear(double code) {
    return code <= 0.04045 ? code / 12.92 : std::pow((code + 0.055) / 1.055, 2.4);
}

double sRGBFromLinear(double light) {
    return light <= 0.0031308 ? light * 12.92 : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
}

namespace bt1886 {
constexpr double kGamma = 2.4;
constexpr double kBlack = 1 / kContrast;
static_assert(kContrast == 1000);
/// kBlack to the power of 1 / kGamma.
constexpr double kBlackRoot = 0.05623413251903491;
} // namespace bt1886

double bt1886ToLinear(double code) {
    using namespace bt1886;
    const double light = std::pow((1 - kBlackRoot) * std::max(code, 0.0) + kBlackRoot, kGamma);
    return (light - kBlack) / (1 - kBlack);
}

double bt1886FromLinear(double light) {
    using namespace bt1886;
    const double root = std::pow((1 - kBlack) * std::max(light, 0.0) + kBlack, 1 / kGamma);
    return (root - kBlackRoot) / (1 - kBlackRoot);
}

namespace pq {
constexpr double kM1 = 2610.0 / 16384;
constexpr double kM2 = 2523.0 / 4096 * 128;
constexpr double kC1 = 3424.0 / 4096;
constexpr double kC2 = 2413.0 / 4096 * 32;
constexpr double kC3 = 2392.0 / 4096 * 32;
constexpr double kPeak = 10000;
} // namespace pq

double pqToLuminance(double code) {
    const double root = std::pow(std::clamp(code, 0.0, 1.0), 1 / pq::kM2);
    const double fraction = std::max(root - pq::kC1, 0.0) / (pq::kC2 - pq::kC3 * root);
    return pq::kPeak * std::pow(fraction, 1 / pq::kM1);
}

double pqFromLuminance(double luminance) {
    const double power = std::pow(std::clamp(luminance / pq::kPeak, 0.0, 1.0), pq::kM1);
    return std::pow((pq::kC1 + pq::kC2 * power) / (1 + pq::kC3 * power), pq::kM2);
}

double hlgToSceneLight(double code) {
    constexpr double kA = 0.17883277;
    constexpr double kB = 1 - 4 * kA;
    const double c = 0.5 - kA * std::log(4 * kA);
    return code <= 0.5 ? code * code / 3 : (std::exp((code - c) / kA) + kB) / 12;
}

double toneMap(double luminance, double peak) {
    constexpr double kBlack = kReferenceWhite / kContrast;
    const double peakCode = pqFromLuminance(std::max(peak, kReferenceWhite));
    const double white = pqFromLuminance(kReferenceWhite) / peakCode;
    const double black = pqFromLuminance(kBlack) / peakCode;
    // The report's knee of 1.5 maxLum - 0.5 darkens the midtones of ordinary pictures; this one
    // does not.
    const double knee = 2 * white - 1;
    const auto lift = [&](double value) { return value + black * std::pow(1 - value, 4); };
    double value = std::min(pqFromLuminance(luminance) / peakCode, 1.0);
    if (value > knee) {
        value = kneeSpline(value, knee, white);
    }
    // Lifting the black also lifts the white slightly; the scale compensates for that.
    value = black + (lift(value) - black) * (white - black) / (lift(white) - black);
    return (pqToLuminance(value * peakCode) - kBlack) / (kReferenceWhite - kBlack);
}

} // namespace zelvane::raster

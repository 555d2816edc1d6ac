// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "core_media/cv_pixel_buffer.h"

namespace zelvane::test {

/// The conversion once more, pixel by pixel in double precision and straight from the standards:
/// what the fast one is held against. Matrices between primaries are the published ones, in four
/// digits, so that no derivation is shared.

using Color = std::array<double, 3>;
using Matrix = std::array<Color, 3>;

inline Color multiply(const Matrix& m, const Color& c) {
    Color out{};
    for (std::size_t i = 0; i < 3; ++i) {
        out[i] = m[i][0] * c[0] + m[i][1] * c[1] + m[i][2] * c[2];
    }
    return out;
}

inline constexpr Matrix kKeep{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
/// ITU-R BT.2407.
inline constexpr Matrix k2020To709{
    {{1.6605, -0.5876, -0.0728}, {-0.1246, 1.1329, -0.0083}, {-0.0182, -0.1006, 1.1187}}};
inline constexpr Matrix kP3To709{
    {{1.2249, -0.2247, 0.0}, {-0.0420, 1.0419, 0.0}, {-0.0197, -0.0786, 1.0979}}};
inline constexpr Matrix kSMPTECTo709{
    {{0.9395, 0.0502, 0.0103}, {0.0178, 0.9658, 0.0164}, {-0.0016, -0.0044, 1.0060}}};
inline constexpr Matrix kEBUTo709{{{1.0440, -0.0440, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0118, 0.9882}}};

/// R' = Y' + redOfCr CR and so on, as the standards print it.
struct YCbCrMatrix {
    double redOfCr, greenOfCb, greenOfCr, blueOfCb;
};
inline constexpr YCbCrMatrix k601{1.402, -0.344136, -0.714136, 1.772};
inline constexpr YCbCrMatrix k709{1.5748, -0.187324, -0.468124, 1.8556};
inline constexpr YCbCrMatrix k2020{1.4746, -0.164553, -0.571353, 1.8814};

inline Color decode(const YCbCrMatrix& m, double y, double cb, double cr) {
    return {y + m.redOfCr * cr, y + m.greenOfCb * cb + m.greenOfCr * cr, y + m.blueOfCb * cb};
}

inline double clip(double value) {
    return std::min(std::max(value, 0.0), 1.0);
}

inline double encodeSRGB(double light) {
    light = clip(light);
    return light < 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
}
inline double decodeSRGB(double code) {
    return code < 0.04045 ? code / 12.92 : std::pow((code + 0.055) / 1.055, 2.4);
}

/// A screen of white 1 and black 0.001 after annex 1 of BT.1886, less its black.
inline double screen1886(double code) {
    const double lw = std::pow(1.0, 1 / 2.4);
    const double lb = std::pow(0.001, 1 / 2.4);
    const double a = std::pow(lw - lb, 2.4);
    const double b = lb / (lw - lb);
    return (a * std::pow(std::max(clip(code) + b, 0.0), 2.4) - 0.001) / 0.999;
}

inline double pqLight(double code) {
    const double p = std::pow(code, 32.0 / 2523);
    return 10000 *
           std::pow(std::max(p - 0.8359375, 0.0) / (18.8515625 - 18.6875 * p), 16384.0 / 2610);
}
inline double pqCode(double light) {
    const double p = std::pow(light / 10000, 0.1593017578125);
    return std::pow((0.8359375 + 18.8515625 * p) / (1 + 18.6875 * p), 78.84375);
}

/// BT.2390: E1 to E3 with the knee at 2 maxLum - 1, then brought to 203 cd/m² over 0.203.
inline double toneMapped(double nits, double peak) {
    const double top = pqCode(peak);
    const double maxLum = pqCode(203) / top;
    const double minLum = pqCode(0.203) / top;
    const double ks = 2 * maxLum - 1;
    const double e1 = std::min(pqCode(nits) / top, 1.0);
    double e2 = e1;
    if (e1 >= ks && ks < 1) {
        const double t = (e1 - ks) / (1 - ks);
        e2 = (2 * std::pow(t, 3) - 3 * t * t + 1) * ks +
             (std::pow(t, 3) - 2 * t * t + t) * (1 - ks) +
             (-2 * std::pow(t, 3) + 3 * t * t) * maxLum;
    }
    const double e3 = e2 + minLum * std::pow(1 - e2, 4);
    const double atPeak = maxLum + minLum * std::pow(1 - maxLum, 4);
    const double scaled = minLum + (e3 - minLum) / (atPeak - minLum) * (maxLum - minLum);
    return (pqLight(scaled * top) - 0.203) / (203 - 0.203);
}

inline double hlgScene(double code) {
    return code <= 0.5 ? code * code / 3
                       : (std::exp((code - 0.55991073) / 0.17883277) + 0.28466892) / 12;
}

} // namespace zelvane::test

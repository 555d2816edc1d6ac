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

/// Reference conversions in double precision, written from the standards. They share no code with
/// the converters under test; matrices between primaries are the published ones.

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
inline constexpr Matrix k2020To709{
    {{1.66049, -0.58764, -0.07285}, {-0.12455, 1.13290, -0.00835}, {-0.01815, -0.10058, 1.11873}}};
inline constexpr Matrix kP3To709{
    {{1.22494, -0.22494, 0.0}, {-0.04206, 1.04206, 0.0}, {-0.01964, -0.07864, 1.09827}}};
inline constexpr Matrix kSMPTECTo709{
    {{0.93954, 0.05018, 0.01028}, {0.01777, 0.96579, 0.01643}, {-0.00162, -0.00437, 1.00599}}};
inline constexpr Matrix kEBUTo709{
    {{1.04404, -0.04404, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.01179, 0.98821}}};

/// R' = Y' + redOfCr CR and so on, in the form of the standards.
struct PrintedMatrix {
    double redOfCr, greenOfCb, greenOfCr, blueOfCb;
};
inline constexpr PrintedMatrix k601{1.402, -0.344136, -0.714136, 1.772};
inline constexpr PrintedMatrix k709{1.5748, -0.187324, -0.468124, 1.8556};
inline constexpr PrintedMatrix k2020{1.4746, -0.164553, -0.571353, 1.8814};

inline Color decode(const PrintedMatrix& m, double y, double cb, double cr) {
    return {y + m.redOfCr * cr, y + m.greenOfCb * cb + m.greenOfCr * cr, y + m.blueOfCb * cb};
}

/// Samples of `bits` bits as Y' of 0…1 and chroma of -0.5…0.5.
inline Color normalised(const Color& sample, int bits, bool isFullRange) {
    const double unit = std::exp2(bits - 8);
    const double top = std::exp2(bits) - 1;
    const double chromaSpan = isFullRange ? top : 224 * unit;
    return {isFullRange ? sample[0] / top : (sample[0] - 16 * unit) / (219 * unit),
            (sample[1] - 128 * unit) / chromaSpan, (sample[2] - 128 * unit) / chromaSpan};
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

/// A screen of white 1 and black 0.001 by annex 1 of BT.1886, less its black.
inline double screen1886(double code) {
    const double lw = std::pow(1.0, 1 / 2.4);
    const double lb = std::pow(0.001, 1 / 2.4);
    const double a = std::pow(lw - lb, 2.4);
    const double b = lb / (lw - lb);
    return (a * std::pow(std::max(clip(code) + b, 0.0), 2.4) - 0.001) / 0.999;
}

inline double screen1886Code(double light) {
    const double lb = std::pow(0.001, 1 / 2.4);
    return (std::pow(clip(light) * 0.999 + 0.001, 1 / 2.4) - lb) / (1 - lb);
}

/// Y'CBCR to R'G'B' of a screen of BT.709 primaries: each channel to light, a matrix between
/// primaries, and each channel to a code.
template <class Light, class Code>
Color shown(const Color& coded, const PrintedMatrix& matrix, const Matrix& to709, Light light,
            Code code) {
    auto color = decode(matrix, coded[0], coded[1], coded[2]);
    std::transform(color.begin(), color.end(), color.begin(),
                   [&](double channel) { return light(clip(channel)); });
    color = multiply(to709, color);
    std::transform(color.begin(), color.end(), color.begin(),
                   [&](double channel) { return code(clip(channel)); });
    return color;
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

/// BT.2390: E1 to E3 with the knee at 2 maxLum - 1, then scaled to 203 cd/m² over 0.203.
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

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>

#include "core_media/ycbcr_matrix.h"

namespace zelvane::raster {

/// Colour mathematics in double precision, for making tables. Pure functions.

using Vector3 = std::array<double, 3>;
/// Rows of columns.
using Matrix3 = std::array<Vector3, 3>;

Vector3 operator*(const Matrix3& matrix, const Vector3& vector);
Matrix3 operator*(const Matrix3& left, const Matrix3& right);
Matrix3 inverse(const Matrix3& matrix);

struct Chromaticity {
    double x = 0;
    double y = 0;
    friend bool operator==(const Chromaticity&, const Chromaticity&) = default;
};

struct Primaries {
    Chromaticity red;
    Chromaticity green;
    Chromaticity blue;
    Chromaticity white;
    friend bool operator==(const Primaries&, const Primaries&) = default;
};

inline constexpr Chromaticity kWhiteD65{0.3127, 0.3290};
inline constexpr Chromaticity kWhiteDCI{0.314, 0.351};
/// ITU-R BT.709-6; also those of IEC 61966-2-1.
inline constexpr Primaries kPrimariesBT709{
    {0.640, 0.330}, {0.300, 0.600}, {0.150, 0.060}, kWhiteD65};
/// EBU Tech. 3213, ITU-R BT.601 with 625 lines.
inline constexpr Primaries kPrimariesEBU{{0.640, 0.330}, {0.290, 0.600}, {0.150, 0.060}, kWhiteD65};
/// SMPTE RP 145, ITU-R BT.601 with 525 lines.
inline constexpr Primaries kPrimariesSMPTEC{
    {0.630, 0.340}, {0.310, 0.595}, {0.155, 0.070}, kWhiteD65};
/// ITU-R BT.2020-2.
inline constexpr Primaries kPrimariesBT2020{
    {0.708, 0.292}, {0.170, 0.797}, {0.131, 0.046}, kWhiteD65};
/// SMPTE RP 431-2 and EG 432-1.
inline constexpr Primaries kPrimariesDCIP3{
    {0.680, 0.320}, {0.265, 0.690}, {0.150, 0.060}, kWhiteDCI};
inline constexpr Primaries kPrimariesP3D65{
    {0.680, 0.320}, {0.265, 0.690}, {0.150, 0.060}, kWhiteD65};
/// JEDEC P22, code point 22 of ITU-T H.273.
inline constexpr Primaries kPrimariesP22{{0.630, 0.340}, {0.295, 0.605}, {0.155, 0.077}, kWhiteD65};

/// Linear RGB to CIE XYZ, adapted to the D50 white of ICC profiles by the Bradford transform.
Matrix3 rgbToXYZD50(const Primaries& primaries);

/// The weights derived from primaries, as in ITU-T H.273 for a chromaticity-derived matrix.
LumaWeights lumaWeightsOf(const Primaries& primaries);
/// Y' in 0…1 and CB, CR in -0.5…0.5 to R'G'B'.
Matrix3 yCbCrToRGB(const LumaWeights& weights);

/// The luminance of SDR white beside HDR (ITU-R BT.2408), in cd/m².
inline constexpr double kReferenceWhite = 203;
/// The contrast of the assumed screen: white over black.
inline constexpr double kContrast = 1000;

/// IEC 61966-2-1.
double sRGBToLinear(double code);
double sRGBFromLinear(double light);
/// ITU-R BT.1886 for a screen of kContrast, with its black subtracted: 0…1 to 0…1.
double bt1886ToLinear(double code);
double bt1886FromLinear(double light);
/// SMPTE ST 2084: code to cd/m² and back.
double pqToLuminance(double code);
double pqFromLuminance(double luminance);
/// ARIB STD-B67: code to scene light, 0…1 to 0…1. Display light, of 1000 cd/m² at most, is scene
/// light times the power 0.2 of its luminance (ITU-R BT.2100).
double hlgToSceneLight(double code);
inline constexpr double kHLGPeak = 1000;
inline constexpr double kHLGSystemGamma = 1.2;

/// Tone mapping of HDR to a screen whose white is kReferenceWhite. All presenters follow the same
/// rule: each of R, G and B, in the primaries of the picture, passes through the EETF of ITU-R
/// BT.2390-10 (5.4.1) on the PQ axis, with a knee at 2 × maxLum - 1, source black 0, source peak
/// `peak` but at least kReferenceWhite, target kReferenceWhite / kContrast to kReferenceWhite, and
/// scaled so that the peak becomes white. The target's black is then subtracted, the primaries are
/// converted, and each channel is clipped to the screen's gamut.
///
/// `luminance` in cd/m²; the result is light on the screen, 0…1.
double toneMap(double luminance, double peak);

} // namespace zelvane::raster

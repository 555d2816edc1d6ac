// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>

namespace zelvane::raster::kernels {

/// The loops over pixels, written for automatic vectorisation. On x86 each is also compiled for
/// AVX2 with fused multiplication and selected at run time. Rows never overlap.

/// out = 8-bit sample.
void widen(const std::uint8_t* in, std::uint16_t* out, std::size_t count);
/// out = sample in the upper ten bits.
void takeUpperTen(const std::uint16_t* in, std::uint16_t* out, std::size_t count);
/// out = 3 × near + far.
void blendRows(const std::uint8_t* near, const std::uint8_t* far, std::uint16_t* out,
               std::size_t count);
void blendRowsOfUpperTen(const std::uint16_t* near, const std::uint16_t* far, std::uint16_t* out,
                         std::size_t count);
void deinterleave(const std::uint16_t* pairs, std::uint16_t* first, std::uint16_t* second,
                  std::size_t count);
/// out[2i] = 2 × in[i], out[2i + 1] = in[i] + in[i + 1], for 2 × count outputs; reads count + 1.
void doubleWidth(const std::uint16_t* in, std::uint16_t* out, std::size_t count);

/// Splits pixels of 32 bits into channels; `shifts` are their positions in the little-endian word.
void splitPixels(const std::uint8_t* pixels, const int shifts[3], std::uint16_t* const out[3],
                 std::size_t count);
/// Splits pairs of pixels in 32 bits, which share their chroma, into two samples of luma and one of
/// each chroma.
struct PackedPair {
    /// Of the first luma; the second is 16 bits higher.
    int lumaShift;
    int cbShift;
    int crShift;
};
void splitPairs(const std::uint8_t* pairs, const PackedPair& layout, std::uint16_t* luma,
                std::uint16_t* cb, std::uint16_t* cr, std::size_t count);
/// Copies the pixels and sets their fourth byte to 255.
void copyOpaque(const std::uint8_t* in, std::uint8_t* out, std::size_t count);

/// Three channels in, three out: out_i = sum(factor[i][j] × in_j) + offset[i].
struct Affine {
    float factor[3][3];
    float offset[3];
};

struct Channels16 {
    const std::uint16_t* channels[3];
};

/// Code to light, both 0…1: a line through 0 below `toe`, a polynomial above it.
struct Curve {
    static constexpr std::size_t kFactors = 8;
    float toe;
    float toeSlope;
    /// Of the powers from 0 upward.
    float factors[kFactors];
};
float lightOf(const Curve& curve, float code);
/// The inverse: the fourth root of light, 0…1, to a code 0…255, by a polynomial.
struct RootCurve {
    static constexpr std::size_t kFactors = 6;
    /// Of the powers from 0 upward.
    float factors[kFactors];
};
float codeOf(const RootCurve& curve, float root);

/// Writes B, G, R, 255; the results of `affine` are 0…255.
void affineToPixels(const Channels16& in, const Affine& affine, std::uint8_t* pixels,
                    std::size_t count);
/// Writes integers of 0…limit.
void affineToCodes(const Channels16& in, const Affine& affine, float limit,
                   std::uint16_t* const out[3], std::size_t count);
/// Writes the light of a curve at codes of 0…1.
void affineToLight(const Channels16& in, const Affine& affine, const Curve& curve,
                   float* const out[3], std::size_t count);
/// out = table[code].
void lookUp(const std::uint16_t* codes, const float* table, float* out, std::size_t count);
/// Mixes three channels of light by the factors of `mix`, clips them to 0…1, and writes the square
/// root times `steps`, rounded.
void mixToRootCodes(const float* const in[3], const Affine& mix, float steps,
                    std::uint16_t* const out[3], std::size_t count);
/// The same mixture, then one curve for all channels.
void mixToPixelsOfCurve(const float* const in[3], const Affine& mix, const RootCurve& curve,
                        std::uint8_t* pixels, std::size_t count);
/// The same mixture, then the curve of sRGB.
void mixToSRGBPixels(const float* const in[3], const Affine& mix, std::uint8_t* pixels,
                     std::size_t count);
/// A factor that depends on luminance: the table entry at the square root of luminance times
/// `steps`. `weights` are the luminance of the channels.
struct LuminanceGain {
    float weights[3];
    const float* table;
    float steps;
};
/// Scene light to display light: each channel times the factor, clipped to 0…1, as its square root
/// times `steps`, rounded.
void gainToRootCodes(const float* const in[3], const LuminanceGain& gain, float steps,
                     std::uint16_t* const out[3], std::size_t count);
/// One table for each of R, G, B.
void encodePixels(const std::uint16_t* const codes[3], const std::uint8_t* const tables[3],
                  std::uint8_t* pixels, std::size_t count);

} // namespace zelvane::raster::kernels

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/video_raster/pixel_kernels.h"

#include <cmath>
#include <cstring>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZELVANE_SANITIZED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ZELVANE_SANITIZED
#endif
#endif

// The loader selects the variant before a sanitizer's runtime is initialised.
#if defined(__x86_64__) && defined(__ELF__) && !defined(ZELVANE_SANITIZED)
#define ZELVANE_VECTORISED __attribute__((target_clones("arch=x86-64-v3", "default")))
#else
#define ZELVANE_VECTORISED
#endif

/// Inlining compiles the function with the instructions of the calling variant.
#define ZELVANE_INLINED inline __attribute__((always_inline))

namespace zelvane::raster::kernels {
namespace {

inline float cut(float value, float limit) {
    value = value > 0.0F ? value : 0.0F;
    return value < limit ? value : limit;
}

inline float apply(const float factors[3], float offset, float a, float b, float c) {
    return factors[0] * a + factors[1] * b + factors[2] * c + offset;
}

/// The nearest integer to a number that is not negative. Library rounding is not vectorised.
inline std::int32_t nearest(float value) {
    return static_cast<std::int32_t>(value + 0.5F); // NOLINT(bugprone-incorrect-roundings)
}

inline std::uint32_t pixelOf(std::int32_t red, std::int32_t green, std::int32_t blue) {
    return 0xff000000U | static_cast<std::uint32_t>(red << 16 | green << 8 | blue);
}

inline std::int32_t pixelValue(const float factors[3], float offset, float a, float b, float c) {
    return nearest(cut(apply(factors, offset, a, b, c), 255.0F));
}

ZELVANE_INLINED void mixToPixels(const Channels16& in, const Affine& affine, std::uint8_t* pixels,
                                 std::size_t count) {
    const std::uint16_t* __restrict first = in.channels[0];
    const std::uint16_t* __restrict second = in.channels[1];
    const std::uint16_t* __restrict third = in.channels[2];
    const Affine by = affine;
    for (std::size_t i = 0; i < count; ++i) {
        const auto a = static_cast<float>(first[i]);
        const auto b = static_cast<float>(second[i]);
        const auto c = static_cast<float>(third[i]);
        const auto pixel = pixelOf(pixelValue(by.factor[0], by.offset[0], a, b, c),
                                   pixelValue(by.factor[1], by.offset[1], a, b, c),
                                   pixelValue(by.factor[2], by.offset[2], a, b, c));
        std::memcpy(pixels + 4 * i, &pixel, sizeof pixel);
    }
}

inline std::uint16_t rootCode(const float factors[3], float steps, float a, float b, float c) {
    const float light = cut(apply(factors, 0.0F, a, b, c), 1.0F);
    return static_cast<std::uint16_t>(nearest(std::sqrt(light) * steps));
}

inline std::uint16_t wholeCode(const float factors[3], float offset, float limit, float a, float b,
                               float c) {
    const float code = cut(apply(factors, offset, a, b, c), limit);
    return static_cast<std::uint16_t>(nearest(code));
}

/// `restrict` affects the vectoriser on parameters, not on local variables.
ZELVANE_INLINED void mixToCodes(const std::uint16_t* __restrict first,
                                const std::uint16_t* __restrict second,
                                const std::uint16_t* __restrict third, const Affine& affine,
                                float limit, std::uint16_t* __restrict red,
                                std::uint16_t* __restrict green, std::uint16_t* __restrict blue,
                                std::size_t count) {
    const Affine by = affine;
    for (std::size_t i = 0; i < count; ++i) {
        const auto a = static_cast<float>(first[i]);
        const auto b = static_cast<float>(second[i]);
        const auto c = static_cast<float>(third[i]);
        red[i] = wholeCode(by.factor[0], by.offset[0], limit, a, b, c);
        green[i] = wholeCode(by.factor[1], by.offset[1], limit, a, b, c);
        blue[i] = wholeCode(by.factor[2], by.offset[2], limit, a, b, c);
    }
}

ZELVANE_INLINED float lightOnCurve(const Curve& curve, float code) {
    float light = curve.factors[Curve::kFactors - 1];
    for (std::size_t power = Curve::kFactors - 1; power-- > 0;) {
        light = light * code + curve.factors[power];
    }
    const float toe = code * curve.toeSlope;
    return code < curve.toe ? toe : light;
}

ZELVANE_INLINED void mixToLight(const std::uint16_t* __restrict first,
                                const std::uint16_t* __restrict second,
                                const std::uint16_t* __restrict third, const Affine& affine,
                                const Curve& curve, float* __restrict red, float* __restrict green,
                                float* __restrict blue, std::size_t count) {
    const Affine by = affine;
    const Curve along = curve;
    for (std::size_t i = 0; i < count; ++i) {
        const auto a = static_cast<float>(first[i]);
        const auto b = static_cast<float>(second[i]);
        const auto c = static_cast<float>(third[i]);
        red[i] = lightOnCurve(along, cut(apply(by.factor[0], by.offset[0], a, b, c), 1.0F));
        green[i] = lightOnCurve(along, cut(apply(by.factor[1], by.offset[1], a, b, c), 1.0F));
        blue[i] = lightOnCurve(along, cut(apply(by.factor[2], by.offset[2], a, b, c), 1.0F));
    }
}

/// The curve of IEC 61966-2-1 on the scale 0…255, as a polynomial in the fourth root of light above
/// its straight part: within 0.013, and without the memory access of a table for each pixel.
inline std::int32_t sRGBCode(const float factors[3], float a, float b, float c) {
    const float light = cut(apply(factors, 0.0F, a, b, c), 1.0F);
    const float root = std::sqrt(std::sqrt(light));
    const float curved =
        -16.5957338F +
        root * (50.9881733F + root * (283.582873F + root * (-82.4750789F + root * 19.5055866F)));
    const float code = light < 0.0031308F ? 255 * 12.92F * light : curved;
    return nearest(code);
}

ZELVANE_INLINED void mixToSRGB(const float* __restrict first, const float* __restrict second,
                               const float* __restrict third, const Affine& mix,
                               std::uint8_t* __restrict pixels, std::size_t count) {
    const Affine by = mix;
    for (std::size_t i = 0; i < count; ++i) {
        const auto pixel = pixelOf(sRGBCode(by.factor[0], first[i], second[i], third[i]),
                                   sRGBCode(by.factor[1], first[i], second[i], third[i]),
                                   sRGBCode(by.factor[2], first[i], second[i], third[i]));
        std::memcpy(pixels + 4 * i, &pixel, sizeof pixel);
    }
}

ZELVANE_INLINED float codeOnCurve(const RootCurve& curve, float root) {
    float code = curve.factors[RootCurve::kFactors - 1];
    for (std::size_t power = RootCurve::kFactors - 1; power-- > 0;) {
        code = code * root + curve.factors[power];
    }
    return cut(code, 255.0F);
}

ZELVANE_INLINED std::int32_t pixelOnCurve(const RootCurve& curve, float light) {
    const float root = std::sqrt(std::sqrt(cut(light, 1.0F)));
    return nearest(codeOnCurve(curve, root));
}

ZELVANE_INLINED void mixToCurve(const float* __restrict first, const float* __restrict second,
                                const float* __restrict third, const Affine& mix,
                                const RootCurve& curve, std::uint8_t* __restrict pixels,
                                std::size_t count) {
    const Affine by = mix;
    const RootCurve along = curve;
    for (std::size_t i = 0; i < count; ++i) {
        const float a = first[i];
        const float b = second[i];
        const float c = third[i];
        const auto pixel = pixelOf(pixelOnCurve(along, apply(by.factor[0], 0.0F, a, b, c)),
                                   pixelOnCurve(along, apply(by.factor[1], 0.0F, a, b, c)),
                                   pixelOnCurve(along, apply(by.factor[2], 0.0F, a, b, c)));
        std::memcpy(pixels + 4 * i, &pixel, sizeof pixel);
    }
}

/// The square root of a product of light and factor, as a code.
inline std::uint16_t productRoot(float light, float factor, float steps) {
    const float root = std::sqrt(cut(light * factor, 1.0F)) * steps;
    return static_cast<std::uint16_t>(nearest(root));
}

ZELVANE_INLINED void scaleToRootCodes(const float* __restrict first, const float* __restrict second,
                                      const float* __restrict third, const LuminanceGain& gain,
                                      float steps, std::uint16_t* __restrict red,
                                      std::uint16_t* __restrict green,
                                      std::uint16_t* __restrict blue, std::size_t count) {
    const LuminanceGain by = gain;
    for (std::size_t i = 0; i < count; ++i) {
        const float luminance = cut(apply(by.weights, 0.0F, first[i], second[i], third[i]), 1.0F);
        const float factor = by.table[nearest(std::sqrt(luminance) * by.steps)];
        red[i] = productRoot(first[i], factor, steps);
        green[i] = productRoot(second[i], factor, steps);
        blue[i] = productRoot(third[i], factor, steps);
    }
}

ZELVANE_INLINED std::uint32_t wordAt(const std::uint8_t* bytes, std::size_t index) {
    std::uint32_t word = 0;
    std::memcpy(&word, bytes + 4 * index, sizeof word);
    return word;
}

ZELVANE_INLINED void splitChannel(const std::uint8_t* pixels, int shift,
                                  std::uint16_t* __restrict out, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = static_cast<std::uint16_t>(wordAt(pixels, i) >> shift & 0xffU);
    }
}

ZELVANE_INLINED void splitLuma(const std::uint8_t* pairs, int shift, std::uint16_t* __restrict luma,
                               std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t both = wordAt(pairs, i) >> shift & 0x00ff00ffU;
        std::memcpy(luma + 2 * i, &both, sizeof both);
    }
}

} // namespace

ZELVANE_VECTORISED
void splitPixels(const std::uint8_t* pixels, const int shifts[3], std::uint16_t* const out[3],
                 std::size_t count) {
    for (std::size_t i = 0; i < 3; ++i) {
        splitChannel(pixels, shifts[i], out[i], count);
    }
}

ZELVANE_VECTORISED
void splitPairs(const std::uint8_t* pairs, const PackedPair& layout, std::uint16_t* luma,
                std::uint16_t* cb, std::uint16_t* cr, std::size_t count) {
    splitLuma(pairs, layout.lumaShift, luma, count);
    splitChannel(pairs, layout.cbShift, cb, count);
    splitChannel(pairs, layout.crShift, cr, count);
}

ZELVANE_VECTORISED
void copyOpaque(const std::uint8_t* __restrict in, std::uint8_t* __restrict out,
                std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t pixel = wordAt(in, i) | 0xff000000U;
        std::memcpy(out + 4 * i, &pixel, sizeof pixel);
    }
}

ZELVANE_VECTORISED
void widen(const std::uint8_t* __restrict in, std::uint16_t* __restrict out, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = in[i];
    }
}

ZELVANE_VECTORISED
void takeUpperTen(const std::uint16_t* __restrict in, std::uint16_t* __restrict out,
                  std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = static_cast<std::uint16_t>(in[i] >> 6);
    }
}

ZELVANE_VECTORISED
void blendRows(const std::uint8_t* near, const std::uint8_t* far, std::uint16_t* __restrict out,
               std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = static_cast<std::uint16_t>(3 * near[i] + far[i]);
    }
}

ZELVANE_VECTORISED
void blendRowsOfUpperTen(const std::uint16_t* near, const std::uint16_t* far,
                         std::uint16_t* __restrict out, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = static_cast<std::uint16_t>(3 * (near[i] >> 6) + (far[i] >> 6));
    }
}

ZELVANE_VECTORISED
void deinterleave(const std::uint16_t* __restrict pairs, std::uint16_t* __restrict first,
                  std::uint16_t* __restrict second, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        first[i] = pairs[2 * i];
        second[i] = pairs[2 * i + 1];
    }
}

ZELVANE_VECTORISED
void doubleWidth(const std::uint16_t* __restrict in, std::uint16_t* __restrict out,
                 std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[2 * i] = static_cast<std::uint16_t>(2 * in[i]);
        out[2 * i + 1] = static_cast<std::uint16_t>(in[i] + in[i + 1]);
    }
}

ZELVANE_VECTORISED
void affineToPixels(const Channels16& in, const Affine& affine, std::uint8_t* pixels,
                    std::size_t count) {
    mixToPixels(in, affine, pixels, count);
}

ZELVANE_VECTORISED
void affineToCodes(const Channels16& in, const Affine& affine, float limit,
                   std::uint16_t* const out[3], std::size_t count) {
    mixToCodes(in.channels[0], in.channels[1], in.channels[2], affine, limit, out[0], out[1],
               out[2], count);
}

float lightOf(const Curve& curve, float code) {
    return lightOnCurve(curve, code);
}

float codeOf(const RootCurve& curve, float root) {
    return codeOnCurve(curve, root);
}

ZELVANE_VECTORISED
void mixToPixelsOfCurve(const float* const in[3], const Affine& mix, const RootCurve& curve,
                        std::uint8_t* pixels, std::size_t count) {
    mixToCurve(in[0], in[1], in[2], mix, curve, pixels, count);
}

ZELVANE_VECTORISED
void affineToLight(const Channels16& in, const Affine& affine, const Curve& curve,
                   float* const out[3], std::size_t count) {
    mixToLight(in.channels[0], in.channels[1], in.channels[2], affine, curve, out[0], out[1],
               out[2], count);
}

ZELVANE_VECTORISED
void lookUp(const std::uint16_t* __restrict codes, const float* __restrict table,
            float* __restrict out, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = table[codes[i]];
    }
}

ZELVANE_VECTORISED
void mixToRootCodes(const float* const in[3], const Affine& mix, float steps,
                    std::uint16_t* const out[3], std::size_t count) {
    const float* __restrict first = in[0];
    const float* __restrict second = in[1];
    const float* __restrict third = in[2];
    std::uint16_t* __restrict red = out[0];
    std::uint16_t* __restrict green = out[1];
    std::uint16_t* __restrict blue = out[2];
    const Affine by = mix;
    for (std::size_t i = 0; i < count; ++i) {
        red[i] = rootCode(by.factor[0], steps, first[i], second[i], third[i]);
        green[i] = rootCode(by.factor[1], steps, first[i], second[i], third[i]);
        blue[i] = rootCode(by.factor[2], steps, first[i], second[i], third[i]);
    }
}

ZELVANE_VECTORISED
void mixToSRGBPixels(const float* const in[3], const Affine& mix, std::uint8_t* pixels,
                     std::size_t count) {
    mixToSRGB(in[0], in[1], in[2], mix, pixels, count);
}

ZELVANE_VECTORISED
void gainToRootCodes(const float* const in[3], const LuminanceGain& gain, float steps,
                     std::uint16_t* const out[3], std::size_t count) {
    scaleToRootCodes(in[0], in[1], in[2], gain, steps, out[0], out[1], out[2], count);
}

void encodePixels(const std::uint16_t* const codes[3], const std::uint8_t* const tables[3],
                  std::uint8_t* pixels, std::size_t count) {
    const std::uint16_t* __restrict red = codes[0];
    const std::uint16_t* __restrict green = codes[1];
    const std::uint16_t* __restrict blue = codes[2];
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t pixel =
            0xff000000U | static_cast<std::uint32_t>(tables[0][red[i]]) << 16 |
            static_cast<std::uint32_t>(tables[1][green[i]]) << 8 | tables[2][blue[i]];
        std::memcpy(pixels + 4 * i, &pixel, sizeof pixel);
    }
}

} // namespace zelvane::raster::kernels

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

// The loader picks the variant before a sanitizer's runtime is ready for it.
#if defined(__x86_64__) && defined(__ELF__) && !defined(ZELVANE_SANITIZED)
#define ZELVANE_VECTORISED __attribute__((target_clones("arch=haswell", "default")))
#else
#define ZELVANE_VECTORISED
#endif

namespace zelvane::raster::kernels {
namespace {

inline float cut(float value, float limit) {
    value = value > 0.0F ? value : 0.0F;
    return value < limit ? value : limit;
}

inline float apply(const float factors[3], float offset, float a, float b, float c) {
    return factors[0] * a + factors[1] * b + factors[2] * c + offset;
}

} // namespace

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
    const std::uint16_t* __restrict first = in.channels[0];
    const std::uint16_t* __restrict second = in.channels[1];
    const std::uint16_t* __restrict third = in.channels[2];
    const Affine by = affine;
    for (std::size_t i = 0; i < count; ++i) {
        const auto a = static_cast<float>(first[i]);
        const auto b = static_cast<float>(second[i]);
        const auto c = static_cast<float>(third[i]);
        const auto red =
            static_cast<std::int32_t>(cut(apply(by.factor[0], by.offset[0], a, b, c), 255.0F));
        const auto green =
            static_cast<std::int32_t>(cut(apply(by.factor[1], by.offset[1], a, b, c), 255.0F));
        const auto blue =
            static_cast<std::int32_t>(cut(apply(by.factor[2], by.offset[2], a, b, c), 255.0F));
        const auto pixel = 0xff000000U | static_cast<std::uint32_t>(red << 16 | green << 8 | blue);
        std::memcpy(pixels + 4 * i, &pixel, sizeof pixel);
    }
}

ZELVANE_VECTORISED
void affineToCodes(const Channels16& in, const Affine& affine, float limit,
                   std::uint16_t* const out[3], std::size_t count) {
    const std::uint16_t* __restrict first = in.channels[0];
    const std::uint16_t* __restrict second = in.channels[1];
    const std::uint16_t* __restrict third = in.channels[2];
    const Affine by = affine;
    for (int row = 0; row < 3; ++row) {
        std::uint16_t* __restrict codes = out[row];
        const float factors[3] = {by.factor[row][0], by.factor[row][1], by.factor[row][2]};
        const float offset = by.offset[row];
        for (std::size_t i = 0; i < count; ++i) {
            const float value = apply(factors, offset, static_cast<float>(first[i]),
                                      static_cast<float>(second[i]), static_cast<float>(third[i]));
            codes[i] = static_cast<std::uint16_t>(static_cast<std::int32_t>(cut(value, limit)));
        }
    }
}

void lookUp(const std::uint16_t* codes, const float* table, float* out, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = table[codes[i]];
    }
}

ZELVANE_VECTORISED
void mixToRootCodes(const float* const in[3], const float mix[3][3], float steps,
                    std::uint16_t* const out[3], std::size_t count) {
    const float* __restrict first = in[0];
    const float* __restrict second = in[1];
    const float* __restrict third = in[2];
    for (int row = 0; row < 3; ++row) {
        std::uint16_t* __restrict codes = out[row];
        const float factors[3] = {mix[row][0], mix[row][1], mix[row][2]};
        for (std::size_t i = 0; i < count; ++i) {
            const float light = cut(apply(factors, 0.0F, first[i], second[i], third[i]), 1.0F);
            const float code = std::sqrt(light) * steps + 0.5F;
            codes[i] = static_cast<std::uint16_t>(static_cast<std::int32_t>(code));
        }
    }
}

ZELVANE_VECTORISED
void fourthRootCodes(const float* __restrict in, float steps, std::uint16_t* __restrict out,
                     std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const float code = std::sqrt(std::sqrt(cut(in[i], 1.0F))) * steps + 0.5F;
        out[i] = static_cast<std::uint16_t>(static_cast<std::int32_t>(code));
    }
}

void scaleByLuminance(float* const channels[3], const float weights[3], const float* table,
                      float steps, std::size_t count) {
    float* __restrict red = channels[0];
    float* __restrict green = channels[1];
    float* __restrict blue = channels[2];
    for (std::size_t i = 0; i < count; ++i) {
        const float luminance = cut(apply(weights, 0.0F, red[i], green[i], blue[i]), 1.0F);
        const float factor = table[static_cast<std::int32_t>(std::sqrt(luminance) * steps + 0.5F)];
        red[i] *= factor;
        green[i] *= factor;
        blue[i] *= factor;
    }
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

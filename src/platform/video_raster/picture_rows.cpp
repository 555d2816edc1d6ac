// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/video_raster/picture_rows.h"

#include <algorithm>

#include "platform/video_raster/pixel_kernels.h"

namespace zelvane::raster {
namespace {

/// Loops read and write whole vectors past the end of a row.
constexpr std::size_t kPadding = 64;

/// Upsampling multiplies chroma by 4 vertically and 2 horizontally.
constexpr double k420Factor = 8;
constexpr double k422Factor = 2;

PictureRows::Scale yCbCrScale(int bits, bool isFullRange, double chromaFactor) {
    const double unit = 1 << (bits - 8);
    const double lumaSpan = isFullRange ? (1 << bits) - 1 : 219 * unit;
    const double chromaSpan = (isFullRange ? lumaSpan : 224 * unit) * chromaFactor;
    const double middle = 128 * unit * chromaFactor;
    return {{isFullRange ? 0 : 16 * unit, middle, middle},
            {1 / lumaSpan, 1 / chromaSpan, 1 / chromaSpan},
            true};
}

PictureRows::Scale rgbScale(double maximum) {
    return {{0, 0, 0}, {1 / maximum, 1 / maximum, 1 / maximum}, false};
}

/// The chroma row nearest to a luma row, and the one on its other side; the edge is repeated.
struct ChromaRows {
    int near;
    int far;
};
ChromaRows chromaRowsOf(int row, int chromaHeight) {
    const int near = std::min(row / 2, chromaHeight - 1);
    const int far = std::clamp(row % 2 == 0 ? near - 1 : near + 1, 0, chromaHeight - 1);
    return {near, far};
}

const std::uint8_t* rowOf(const CVPixelBuffer& picture, int plane, int row) {
    const auto& layout = picture.plane(plane);
    return layout.baseAddress + layout.bytesPerRow * static_cast<std::size_t>(row);
}

const std::uint16_t* row16Of(const CVPixelBuffer& picture, int plane, int row) {
    return static_cast<const std::uint16_t*>(static_cast<const void*>(rowOf(picture, plane, row)));
}

/// Repeats the last sample of a half-width row, for the sample to its right.
void repeatLast(std::uint16_t* row, std::size_t count) {
    row[count] = row[count - 1];
}

void readRGB24(const std::uint8_t* in, std::size_t width, std::uint16_t* const out[3]) {
    for (std::size_t i = 0; i < width; ++i, in += 3) {
        out[0][i] = in[0];
        out[1][i] = in[1];
        out[2][i] = in[2];
    }
}

/// Of R, G, B in a little-endian word.
constexpr int kShiftsOfARGB[3] = {8, 16, 24};
constexpr int kShiftsOfBGRA[3] = {16, 8, 0};
constexpr kernels::PackedPair kChromaFirst{8, 0, 16};
constexpr kernels::PackedPair kLumaFirst{0, 8, 24};

template <bool isBigEndian>
void read16AfterAlpha(const std::uint8_t* in, std::size_t width, std::uint16_t* const out[3]) {
    const auto number = [](const std::uint8_t* bytes) {
        return static_cast<std::uint16_t>(isBigEndian ? bytes[0] << 8 | bytes[1]
                                                      : bytes[1] << 8 | bytes[0]);
    };
    for (std::size_t i = 0; i < width; ++i, in += 8) {
        out[0][i] = number(in + 2);
        out[1][i] = number(in + 4);
        out[2][i] = number(in + 6);
    }
}

} // namespace

bool PictureRows::canRead(const CVPixelBuffer& picture) {
    return pixelFormatDescriptor(picture.pixelFormat()) != nullptr && picture.width() > 0 &&
           picture.height() > 0 && picture.plane(0).baseAddress != nullptr;
}

PictureRows::Scale PictureRows::scaleOf(OSType pixelFormat) {
    const auto* descriptor = pixelFormatDescriptor(pixelFormat);
    const bool isFullRange = descriptor != nullptr && descriptor->isFullRange;
    switch (pixelFormat) {
    case kCVPixelFormatType_24RGB:
    case kCVPixelFormatType_32ARGB:
    case kCVPixelFormatType_32BGRA:
        return rgbScale(255);
    case kCVPixelFormatType_64ARGB:
        return rgbScale(65535);
    case kCVPixelFormatType_422YpCbCr8:
    case kCVPixelFormatType_422YpCbCr8_yuvs:
    case kCVPixelFormatType_422YpCbCr8FullRange:
        return yCbCrScale(8, isFullRange, k422Factor);
    case kCVPixelFormatType_4444AYpCbCr16:
        return yCbCrScale(16, isFullRange, 1);
    case kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange:
    case kCVPixelFormatType_420YpCbCr10BiPlanarFullRange:
        return yCbCrScale(10, isFullRange, k420Factor);
    default:
        return yCbCrScale(8, isFullRange, k420Factor);
    }
}

void PictureRows::open(const CVPixelBuffer& picture) {
    picture_ = &picture;
    stride_ = static_cast<std::size_t>(picture.width()) + kPadding;
    // Three channels, two half rows of chroma, and one of both interleaved.
    constexpr std::size_t kRows = 6;
    if (scratch_.size() < stride_ * kRows) {
        scratch_.resize(stride_ * kRows);
    }
}

const std::uint8_t* PictureRows::bytesOf(int row) const {
    return rowOf(*picture_, 0, row);
}

PictureRows::Row PictureRows::read(int row) {
    switch (picture_->pixelFormat()) {
    case kCVPixelFormatType_420YpCbCr8Planar:
    case kCVPixelFormatType_420YpCbCr8PlanarFullRange:
        readPlanar420(row);
        break;
    case kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange:
    case kCVPixelFormatType_420YpCbCr8BiPlanarFullRange:
    case kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange:
    case kCVPixelFormatType_420YpCbCr10BiPlanarFullRange:
        readBiPlanar420(row);
        break;
    default:
        readPacked(row);
    }
    return {{channel(0), channel(1), channel(2)}};
}

void PictureRows::readPlanar420(int row) {
    const auto width = static_cast<std::size_t>(picture_->width());
    const auto half = (width + 1) / 2;
    const auto rows = chromaRowsOf(row, picture_->plane(1).height);
    kernels::widen(rowOf(*picture_, 0, row), channel(0), width);
    for (int plane = 1; plane <= 2; ++plane) {
        kernels::blendRows(rowOf(*picture_, plane, rows.near), rowOf(*picture_, plane, rows.far),
                           channel(3), half);
        repeatLast(channel(3), half);
        kernels::doubleWidth(channel(3), channel(static_cast<std::size_t>(plane)), half);
    }
}

void PictureRows::readBiPlanar420(int row) {
    const auto width = static_cast<std::size_t>(picture_->width());
    const auto half = (width + 1) / 2;
    const auto rows = chromaRowsOf(row, picture_->plane(1).height);
    if (pixelFormatDescriptor(picture_->pixelFormat())->planes[0].bytesPerBlock == 1) {
        kernels::widen(rowOf(*picture_, 0, row), channel(0), width);
        kernels::blendRows(rowOf(*picture_, 1, rows.near), rowOf(*picture_, 1, rows.far),
                           channel(5), 2 * half);
    } else {
        kernels::takeUpperTen(row16Of(*picture_, 0, row), channel(0), width);
        kernels::blendRowsOfUpperTen(row16Of(*picture_, 1, rows.near),
                                     row16Of(*picture_, 1, rows.far), channel(5), 2 * half);
    }
    kernels::deinterleave(channel(5), channel(3), channel(4), half);
    for (std::size_t chroma = 1; chroma <= 2; ++chroma) {
        repeatLast(channel(2 + chroma), half);
        kernels::doubleWidth(channel(2 + chroma), channel(chroma), half);
    }
}

void PictureRows::readPacked(int row) {
    const auto width = static_cast<std::size_t>(picture_->width());
    const auto* in = rowOf(*picture_, 0, row);
    std::uint16_t* const out[3] = {channel(0), channel(1), channel(2)};
    switch (picture_->pixelFormat()) {
    case kCVPixelFormatType_24RGB:
        return readRGB24(in, width, out);
    case kCVPixelFormatType_32ARGB:
        return kernels::splitPixels(in, kShiftsOfARGB, out, width);
    case kCVPixelFormatType_32BGRA:
        return kernels::splitPixels(in, kShiftsOfBGRA, out, width);
    case kCVPixelFormatType_64ARGB:
        return read16AfterAlpha<true>(in, width, out);
    case kCVPixelFormatType_4444AYpCbCr16:
        return read16AfterAlpha<false>(in, width, out);
    default:
        break;
    }
    const bool chromaFirst = picture_->pixelFormat() == kCVPixelFormatType_422YpCbCr8;
    const auto half = (width + 1) / 2;
    kernels::splitPairs(in, chromaFirst ? kChromaFirst : kLumaFirst, channel(0), channel(3),
                        channel(4), half);
    for (std::size_t chroma = 1; chroma <= 2; ++chroma) {
        repeatLast(channel(2 + chroma), half);
        kernels::doubleWidth(channel(2 + chroma), channel(chroma), half);
    }
}

} // namespace zelvane::raster

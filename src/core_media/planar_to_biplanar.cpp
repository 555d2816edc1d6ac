// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/planar_to_biplanar.h"

#include <algorithm>

#include <libyuv.h>

#include "foundation/row_bands.h"

namespace zelvane {
namespace {

/// Rows are 16-bit samples; FFmpeg counts bytes.
std::uint16_t* samples(std::uint8_t* bytes) {
    return reinterpret_cast<std::uint16_t*>(bytes);
}

constexpr int sampleCount(int byteCount) {
    return byteCount / 2;
}

/// Bits of a sample; 0 for formats that cannot be packed.
int sampleDepth(AVPixelFormat format) {
    switch (format) {
    case AV_PIX_FMT_YUV420P9LE:
        return 9;
    case AV_PIX_FMT_YUV420P10LE:
        return 10;
    case AV_PIX_FMT_YUV420P12LE:
        return 12;
    case AV_PIX_FMT_YUV420P14LE:
        return 14;
    case AV_PIX_FMT_YUV420P16LE:
        return 16;
    default:
        return 0;
    }
}

/// At most one helper, since the other threads decode. A frame of 1080p is too small for one.
constexpr int kPackers = 2;
constexpr int kSamplesPerBand = 1 << 21;

/// The first sample of a row.
std::uint16_t* row(std::uint8_t* plane, int lineSize, int index) {
    return samples(plane + static_cast<std::ptrdiff_t>(lineSize) * index);
}

void packBand(const AVFrame& frame, const FFmpegPointers& destination, const RowBand& band) {
    const int depth = sampleDepth(static_cast<AVPixelFormat>(frame.format));
    const auto source = [&](int plane, int index) {
        return row(frame.data[plane], frame.linesize[plane], index);
    };
    const auto packed = [&](std::size_t plane, int index) {
        return row(destination.data[plane], destination.linesize[plane], index);
    };
    libyuv::ConvertToMSBPlane_16(source(0, band.first), sampleCount(frame.linesize[0]),
                                 packed(0, band.first), sampleCount(destination.linesize[0]),
                                 frame.width, band.end - band.first, depth);
    const int chroma = band.first / 2;
    libyuv::MergeUVPlane_16(source(1, chroma), sampleCount(frame.linesize[1]), source(2, chroma),
                            sampleCount(frame.linesize[2]), packed(1, chroma),
                            sampleCount(destination.linesize[1]), AV_CEIL_RSHIFT(frame.width, 1),
                            AV_CEIL_RSHIFT(band.end, 1) - chroma, depth);
}

} // namespace

bool canPackAsP010(AVPixelFormat format) {
    return sampleDepth(format) != 0;
}

void packPlanar420AsP010(const AVFrame& frame, const FFmpegPointers& destination) {
    // Two rows share a row of chroma.
    const int rowsPerBand = std::max(1, kSamplesPerBand / 2 / frame.width) * 2;
    forEachBand(frame.height, rowsPerBand, kPackers,
                [&](const RowBand& band) { packBand(frame, destination, band); });
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/planar_to_biplanar.h"

#include <libyuv.h>

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

} // namespace

bool canPackAsP010(AVPixelFormat format) {
    return sampleDepth(format) != 0;
}

void packPlanar420AsP010(const AVFrame& frame, const FFmpegPointers& destination) {
    const int depth = sampleDepth(static_cast<AVPixelFormat>(frame.format));
    libyuv::ConvertToMSBPlane_16(samples(frame.data[0]), sampleCount(frame.linesize[0]),
                                 samples(destination.data[0]), sampleCount(destination.linesize[0]),
                                 frame.width, frame.height, depth);
    libyuv::MergeUVPlane_16(samples(frame.data[1]), sampleCount(frame.linesize[1]),
                            samples(frame.data[2]), sampleCount(frame.linesize[2]),
                            samples(destination.data[1]), sampleCount(destination.linesize[1]),
                            AV_CEIL_RSHIFT(frame.width, 1), AV_CEIL_RSHIFT(frame.height, 1), depth);
}

} // namespace zelvane

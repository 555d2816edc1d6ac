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

} // namespace

void packPlanar420AsP010(const AVFrame& frame, const FFmpegPointers& destination) {
    libyuv::I010ToP010(samples(frame.data[0]), sampleCount(frame.linesize[0]),
                       samples(frame.data[1]), sampleCount(frame.linesize[1]),
                       samples(frame.data[2]), sampleCount(frame.linesize[2]),
                       samples(destination.data[0]), sampleCount(destination.linesize[0]),
                       samples(destination.data[1]), sampleCount(destination.linesize[1]),
                       frame.width, frame.height);
}

} // namespace zelvane

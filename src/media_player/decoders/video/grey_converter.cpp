// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/video/grey_converter.h"

#include <algorithm>
#include <cmath>

namespace zelvane {
namespace {

int depthOf(AVPixelFormat format) {
    return av_pix_fmt_desc_get(format)->comp[0].depth;
}

std::vector<std::uint32_t> pixelsOfSamples(int depth, bool isFullRange) {
    const int top = (1 << depth) - 1;
    const double unit = 1 << (depth - 8);
    const double black = isFullRange ? 0 : 16 * unit;
    const double span = isFullRange ? top : 219 * unit;
    std::vector<std::uint32_t> pixels;
    for (int sample = 0; sample <= top; ++sample) {
        const double code = std::clamp(255 * (sample - black) / span, 0.0, 255.0);
        pixels.push_back(0xff000000U | 0x010101U * static_cast<std::uint32_t>(std::lround(code)));
    }
    return pixels;
}

template <class Sample>
void convertRow(const std::uint8_t* row, int width, const std::vector<std::uint32_t>& pixelOf,
                std::uint8_t* destination) {
    const auto* const samples = reinterpret_cast<const Sample*>(row);
    auto* const pixels = reinterpret_cast<std::uint32_t*>(destination);
    const std::size_t top = pixelOf.size() - 1;
    for (int x = 0; x < width; ++x) {
        pixels[x] = pixelOf[std::min<std::size_t>(samples[x], top)];
    }
}

} // namespace

bool GreyConverter::canConvert(AVPixelFormat format) {
    switch (format) {
    case AV_PIX_FMT_GRAY8:
    case AV_PIX_FMT_GRAY9LE:
    case AV_PIX_FMT_GRAY10LE:
    case AV_PIX_FMT_GRAY12LE:
    case AV_PIX_FMT_GRAY14LE:
    case AV_PIX_FMT_GRAY16LE:
        return true;
    default:
        return false;
    }
}

GreyConverter::GreyConverter(const FFmpegPixelLayout& layout)
    : isWide_(depthOf(layout.format) > 8),
      pixelOfSample_(pixelsOfSamples(depthOf(layout.format), layout.range == AVCOL_RANGE_JPEG)) {}

void GreyConverter::convert(const AVFrame& frame, const FFmpegPointers& destination) const {
    const auto convertOneRow = isWide_ ? convertRow<std::uint16_t> : convertRow<std::uint8_t>;
    for (std::ptrdiff_t y = 0; y < frame.height; ++y) {
        convertOneRow(frame.data[0] + y * frame.linesize[0], frame.width, pixelOfSample_,
                      destination.data[0] + y * destination.linesize[0]);
    }
}

} // namespace zelvane

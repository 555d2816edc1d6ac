// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "core_media/ffmpeg_pixel_buffer.h"
#include "core_media/ffmpeg_pixel_format.h"

namespace zelvane {

/// Converts grey frames to opaque BGRA, rounded to the nearest code for either range. swscale takes
/// grey as full range even where a range is set. Immutable; any thread.
class GreyConverter {
  public:
    /// Grey of 8 to 16 bits, little-endian.
    static bool canConvert(AVPixelFormat format);

    /// Of a format that canConvert() takes.
    explicit GreyConverter(const FFmpegPixelLayout& layout);

    /// `frame` has the layout of construction, `destination` the same size.
    void convert(const AVFrame& frame, const FFmpegPointers& destination) const;

  private:
    bool isWide_;
    std::vector<std::uint32_t> pixelOfSample_;
};

} // namespace zelvane

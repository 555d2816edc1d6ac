// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "core_media/cv_pixel_buffer.h"
#include "platform/video_raster/color_math.h"

namespace zelvane::raster {

/// Reads a picture in memory row by row as three full-width channels of whole numbers, Y'CBCR or
/// R'G'B'. Chroma is brought to full width bilinearly, as if it lay with the left pixel of two and
/// half-way between two rows, as MPEG-2 and its successors have it. Keeps its scratch rows between
/// pictures.
class PictureRows {
  public:
    struct Row {
        const std::uint16_t* channels[3];
    };
    /// What the numbers stand for: (number - zero) × scale is 0…1 for Y', R', G', B' and -0.5…0.5
    /// for chroma.
    struct Scale {
        Vector3 zero{};
        Vector3 scale{};
        bool isYCbCr = false;
    };

    static bool canRead(const CVPixelBuffer& picture);
    static Scale scaleOf(OSType pixelFormat);

    /// The picture must be in memory, of a format that canRead() takes, and outlive the reading.
    void open(const CVPixelBuffer& picture);
    /// Valid until the next call.
    Row read(int row);
    /// The row of the first plane as it stands.
    const std::uint8_t* bytesOf(int row) const;

  private:
    void readPlanar420(int row);
    void readBiPlanar420(int row);
    void readPacked(int row);
    std::uint16_t* channel(std::size_t index) { return scratch_.data() + index * stride_; }

    const CVPixelBuffer* picture_ = nullptr;
    std::vector<std::uint16_t> scratch_;
    std::size_t stride_ = 0;
};

} // namespace zelvane::raster

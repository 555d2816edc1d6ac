// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "core_media/cv_pixel_buffer.h"
#include "platform/video_raster/color_math.h"

namespace zelvane::raster {

/// Reads a picture in memory row by row as three full-width channels of whole numbers, Y'CBCR or
/// R'G'B'. Chroma is interpolated bilinearly to full width. It is sited at the left pixel of two
/// and half-way between two rows, as in MPEG-2 and its successors. Keeps its scratch rows between
/// pictures.
class PictureRows {
  public:
    struct Row {
        const std::uint16_t* channels[3];
    };
    /// The meaning of the numbers: (number - zero) × scale is 0…1 for Y', R', G', B' and -0.5…0.5
    /// for chroma.
    struct Scale {
        Vector3 zero{};
        Vector3 scale{};
        bool isYCbCr = false;
    };

    static bool canRead(const CVPixelBuffer& picture);
    static Scale scaleOf(OSType pixelFormat);

    /// The picture must be in memory, pass canRead(), and outlive the reading.
    void open(const CVPixelBuffer& picture);
    /// Valid until the next call.
    Row read(int row);
    /// The unconverted row of the first plane.
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

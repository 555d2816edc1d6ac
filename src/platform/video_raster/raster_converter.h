// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "core_media/cv_pixel_buffer.h"
#include "foundation/error.h"

namespace zelvane {

/// The colour characteristics of a screen.
struct DisplayColor {
    /// An ICC profile of an RGB screen; sRGB where it is empty or invalid.
    std::vector<std::uint8_t> iccProfile;
    friend bool operator==(const DisplayColor&, const DisplayColor&) = default;
};

/// A picture cannot be converted: an unknown format, a device that refuses to download it, or a
/// target that is too small.
class RasterConversionError : public Error {
  public:
    using Error::Error;
};

/// Converts pictures of any format, range, matrix, primaries and transfer that attachments name to
/// the code values of a screen, on the CPU, within 1.5 code values of the exact result. Tables are
/// made for the first picture of a kind and reused.
///
/// One thread at a time; several converters may run at once. Large pictures are divided into bands
/// of rows among threads of the shared pool.
class RasterConverter {
  public:
    /// Uses at most `processors` processors, and fewer for small pictures; 0 means all of the
    /// machine.
    explicit RasterConverter(DisplayColor display = {}, int processors = 0);
    ~RasterConverter();
    RasterConverter(const RasterConverter&) = delete;
    RasterConverter& operator=(const RasterConverter&) = delete;

    /// Writes the whole picture at its coded size, four bytes a pixel in the order B, G, R, 255
    /// (0xffRRGGBB in a little-endian word), rows from top to bottom. A picture on a device is
    /// copied to memory first. `target` must hold height x bytesPerRow bytes, and a row width x 4.
    /// Throws RasterConversionError.
    void convert(const CVPixelBuffer& picture, std::span<std::uint8_t> target,
                 std::size_t bytesPerRow);

    const DisplayColor& display() const;

  private:
    class Tables;
    std::unique_ptr<Tables> tables_;
};

} // namespace zelvane

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

/// What a screen makes of the numbers that are sent to it.
struct DisplayColor {
    /// An ICC profile of an RGB screen; empty, or bytes that are no such profile, mean sRGB.
    std::vector<std::uint8_t> iccProfile;
    friend bool operator==(const DisplayColor&, const DisplayColor&) = default;
};

/// A picture that cannot be brought to the screen: a format that nobody makes, a device that gives
/// its frame away to nobody, or a target that is too small.
class RasterConversionError : public Error {
  public:
    using Error::Error;
};

/// Turns pictures of any format, range, matrix, primaries and transfer that their attachments name
/// into the numbers that a screen wants, on the processor and exactly: within 1.5 code values of
/// the mathematics. Tables are made at the first picture of a kind and kept for the next one.
///
/// One thread at a time; several converters may work side by side. Large pictures are shared out in
/// bands of rows to threads of the shared pool.
class RasterConverter {
  public:
    /// Uses `processors` of the machine's at most, and no more than a picture has work for; 0 means
    /// all of them.
    explicit RasterConverter(DisplayColor display = {}, int processors = 0);
    ~RasterConverter();
    RasterConverter(const RasterConverter&) = delete;
    RasterConverter& operator=(const RasterConverter&) = delete;

    /// Writes the whole picture at its coded size, four bytes a pixel in the order B, G, R, 255
    /// (0xffRRGGBB in a little-endian word), row below row from the start of `target`. A picture
    /// on a device is brought to memory first. `target` must hold height x bytesPerRow bytes, and a
    /// row width x 4. Throws RasterConversionError.
    void convert(const CVPixelBuffer& picture, std::span<std::uint8_t> target,
                 std::size_t bytesPerRow);

    const DisplayColor& display() const;

  private:
    class Tables;
    std::unique_ptr<Tables> tables_;
};

} // namespace zelvane

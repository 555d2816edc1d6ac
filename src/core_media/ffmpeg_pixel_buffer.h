// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>

#include "core_media/cv_pixel_buffer.h"
#include "core_media/ffmpeg.h"
#include "foundation/error.h"

namespace zelvane {

/// A frame's memory does not fit a pixel buffer of its format.
class DataMismatchError : public Error {
  public:
    enum class Case {
        unexpectedPixelBufferPlaneCount,
        noFFmpegData,
        mismatchedRowByteCount,
        unexpectedPixelBufferPlaneHeight,
    };

    static DataMismatchError unexpectedPixelBufferPlaneCount(int planeCount);
    static DataMismatchError noFFmpegData(std::optional<int> planeIndex);
    static DataMismatchError mismatchedRowByteCount(std::optional<int> planeIndex,
                                                    std::size_t pixelBufferRowByteCount,
                                                    int ffmpegRowByteCount);
    static DataMismatchError unexpectedPixelBufferPlaneHeight(int planeIndex, int ffmpegHeight,
                                                              int pixelBufferHeight);

    Case errorCase() const { return case_; }

  private:
    DataMismatchError(Case errorCase, std::string description)
        : Error(std::move(description)), case_(errorCase) {}
    Case case_;
};

/// Addresses and row sizes of a pixel buffer as FFmpeg's functions take them.
struct FFmpegPointers {
    std::array<std::uint8_t*, 4> data{};
    std::array<int, 4> linesize{};
};

/// Calls `use` with the planes of a buffer in memory. Throws SystemError for a buffer on a device,
/// DataMismatchError for a planar one without 1 to 4 planes.
void withPointersForFFmpeg(const CVPixelBuffer& pixelBuffer,
                           const std::function<void(const FFmpegPointers&)>& use);

/// Copies the visible part of each plane from a frame of the same layout, for any row sizes on
/// either side; rows of the frame may run upward. Throws DataMismatchError when a plane is missing
/// or its rows are shorter than the visible part.
void fillData(CVPixelBuffer& pixelBuffer,
              const std::uint8_t* const (&ffmpegData)[AV_NUM_DATA_POINTERS],
              const int (&ffmpegDataLinesize)[AV_NUM_DATA_POINTERS]);

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/ffmpeg_pixel_buffer.h"

#include <cstdlib>
#include <string>

#include <fmt/format.h>

#include "core_media/pixel_format.h"

namespace zelvane {
namespace {

std::string ofPlane(std::optional<int> planeIndex) {
    return planeIndex ? fmt::format(" of plane {}", *planeIndex) : std::string();
}

void checkIsInMemory(const CVPixelBuffer& pixelBuffer) {
    if (pixelBuffer.deviceFrame() != nullptr) {
        throwCoreVideoError(kCVReturnError);
    }
}

/// Bytes of a row that belong to the picture.
std::size_t visibleRowByteCount(const CVPixelBuffer& pixelBuffer, int planeIndex) {
    const auto* descriptor = pixelFormatDescriptor(pixelBuffer.pixelFormat());
    const auto& plane = pixelBuffer.plane(planeIndex);
    if (descriptor == nullptr) {
        return plane.bytesPerRow;
    }
    return static_cast<std::size_t>(plane.width) *
           static_cast<std::size_t>(descriptor->planes.at(planeIndex).bytesPerBlock);
}

void checkPlaneCount(const CVPixelBuffer& pixelBuffer) {
    if (pixelBuffer.isPlanar() && (pixelBuffer.planeCount() < 1 || pixelBuffer.planeCount() > 4)) {
        throw DataMismatchError::unexpectedPixelBufferPlaneCount(pixelBuffer.planeCount());
    }
}

void fillPlane(const CVPixelBuffer& pixelBuffer, int planeIndex, const std::uint8_t* data,
               int linesize) {
    const auto named = pixelBuffer.isPlanar() ? std::optional(planeIndex) : std::nullopt;
    if (data == nullptr) {
        throw DataMismatchError::noFFmpegData(named);
    }
    const auto& plane = pixelBuffer.plane(planeIndex);
    const std::size_t visible = visibleRowByteCount(pixelBuffer, planeIndex);
    if (static_cast<std::size_t>(std::abs(linesize)) < visible || plane.bytesPerRow < visible) {
        throw DataMismatchError::mismatchedRowByteCount(named, plane.bytesPerRow, linesize);
    }
    if (plane.height < 1 || plane.height > pixelBuffer.height()) {
        throw DataMismatchError::unexpectedPixelBufferPlaneHeight(planeIndex, pixelBuffer.height(),
                                                                  plane.height);
    }
    av_image_copy_plane(plane.baseAddress, static_cast<int>(plane.bytesPerRow), data, linesize,
                        static_cast<int>(visible), plane.height);
}

} // namespace

DataMismatchError DataMismatchError::unexpectedPixelBufferPlaneCount(int planeCount) {
    return {Case::unexpectedPixelBufferPlaneCount,
            fmt::format("A pixel buffer has {} planes.", planeCount)};
}

DataMismatchError DataMismatchError::noFFmpegData(std::optional<int> planeIndex) {
    return {Case::noFFmpegData, fmt::format("The data{} are missing.", ofPlane(planeIndex))};
}

DataMismatchError DataMismatchError::mismatchedRowByteCount(std::optional<int> planeIndex,
                                                            std::size_t pixelBufferRowByteCount,
                                                            int ffmpegRowByteCount) {
    return {Case::mismatchedRowByteCount,
            fmt::format("A row{} has {} bytes in the frame and {} in the pixel buffer.",
                        ofPlane(planeIndex), ffmpegRowByteCount, pixelBufferRowByteCount)};
}

DataMismatchError DataMismatchError::unexpectedPixelBufferPlaneHeight(int planeIndex,
                                                                      int ffmpegHeight,
                                                                      int pixelBufferHeight) {
    return {Case::unexpectedPixelBufferPlaneHeight,
            fmt::format("Plane {} has {} rows in a picture of {}.", planeIndex, pixelBufferHeight,
                        ffmpegHeight)};
}

void withPointersForFFmpeg(const CVPixelBuffer& pixelBuffer,
                           const std::function<void(const FFmpegPointers&)>& use) {
    checkIsInMemory(pixelBuffer);
    checkPlaneCount(pixelBuffer);
    FFmpegPointers pointers;
    for (int i = 0; i < pixelBuffer.planeCount(); ++i) {
        pointers.data.at(i) = pixelBuffer.plane(i).baseAddress;
        pointers.linesize.at(i) = static_cast<int>(pixelBuffer.plane(i).bytesPerRow);
    }
    use(pointers);
}

void fillData(CVPixelBuffer& pixelBuffer,
              const std::uint8_t* const (&ffmpegData)[AV_NUM_DATA_POINTERS],
              const int (&ffmpegDataLinesize)[AV_NUM_DATA_POINTERS]) {
    checkIsInMemory(pixelBuffer);
    checkPlaneCount(pixelBuffer);
    for (int i = 0; i < pixelBuffer.planeCount(); ++i) {
        fillPlane(pixelBuffer, i, ffmpegData[i], ffmpegDataLinesize[i]);
    }
}

} // namespace zelvane

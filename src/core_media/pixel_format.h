// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "core_media/four_char_code.h"

namespace zelvane {

inline constexpr OSType kCVPixelFormatType_24RGB = 0x18;
inline constexpr OSType kCVPixelFormatType_32ARGB = 0x20;
inline constexpr OSType kCVPixelFormatType_32BGRA = fourCharCode("BGRA");
inline constexpr OSType kCVPixelFormatType_64ARGB = fourCharCode("b64a");
inline constexpr OSType kCVPixelFormatType_422YpCbCr8 = fourCharCode("2vuy");
inline constexpr OSType kCVPixelFormatType_422YpCbCr8_yuvs = fourCharCode("yuvs");
inline constexpr OSType kCVPixelFormatType_422YpCbCr8FullRange = fourCharCode("yuvf");
inline constexpr OSType kCVPixelFormatType_4444AYpCbCr16 = fourCharCode("y416");
inline constexpr OSType kCVPixelFormatType_420YpCbCr8Planar = fourCharCode("y420");
inline constexpr OSType kCVPixelFormatType_420YpCbCr8PlanarFullRange = fourCharCode("f420");
inline constexpr OSType kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange = fourCharCode("420v");
inline constexpr OSType kCVPixelFormatType_420YpCbCr8BiPlanarFullRange = fourCharCode("420f");
inline constexpr OSType kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange = fourCharCode("x420");
inline constexpr OSType kCVPixelFormatType_420YpCbCr10BiPlanarFullRange = fourCharCode("xf20");

/// One plane of a pixel format. A plane's width in blocks is the picture's width divided by
/// `widthDivisor`, rounded up; a block has `bytesPerBlock` bytes.
struct PixelPlaneLayout {
    int widthDivisor = 1;
    int heightDivisor = 1;
    int bytesPerBlock = 1;
};

/// The memory layout of a format's pixels and their meaning.
struct PixelFormatDescriptor {
    OSType pixelFormat = 0;
    bool isYCbCr = false;
    bool isFullRange = false;
    /// More than one plane, or a format that counts as planar.
    bool isPlanar = false;
    int planeCount = 1;
    std::array<PixelPlaneLayout, 4> planes{};
};

/// The descriptor of a format that this system can hold in memory; null for any other.
const PixelFormatDescriptor* pixelFormatDescriptor(OSType pixelFormat);

/// An unknown format counts as YCbCr.
bool pixelFormatIsYCbCr(OSType pixelFormat);

} // namespace zelvane

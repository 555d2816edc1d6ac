// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/pixel_format.h"

#include <algorithm>

namespace zelvane {
namespace {

constexpr PixelFormatDescriptor rgb(OSType format, int bytesPerPixel) {
    return {format, false, true, false, 1, {{{1, 1, bytesPerPixel}}}};
}

/// Two pixels of 4:2:2 in four bytes.
constexpr PixelFormatDescriptor packed422(OSType format, bool fullRange) {
    return {format, true, fullRange, false, 1, {{{2, 1, 4}}}};
}

constexpr PixelFormatDescriptor planar420(OSType format, bool fullRange) {
    return {format, true, fullRange, true, 3, {{{1, 1, 1}, {2, 2, 1}, {2, 2, 1}}}};
}

constexpr PixelFormatDescriptor biplanar420(OSType format, bool fullRange, int bytesPerSample) {
    return {format, true, fullRange,
            true,   2,    {{{1, 1, bytesPerSample}, {2, 2, 2 * bytesPerSample}}}};
}

constexpr std::array kDescriptors{
    rgb(kCVPixelFormatType_24RGB, 3),
    rgb(kCVPixelFormatType_32ARGB, 4),
    rgb(kCVPixelFormatType_32BGRA, 4),
    rgb(kCVPixelFormatType_64ARGB, 8),
    packed422(kCVPixelFormatType_422YpCbCr8, false),
    packed422(kCVPixelFormatType_422YpCbCr8_yuvs, false),
    packed422(kCVPixelFormatType_422YpCbCr8FullRange, true),
    PixelFormatDescriptor{kCVPixelFormatType_4444AYpCbCr16, true, false, false, 1, {{{1, 1, 8}}}},
    planar420(kCVPixelFormatType_420YpCbCr8Planar, false),
    planar420(kCVPixelFormatType_420YpCbCr8PlanarFullRange, true),
    biplanar420(kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange, false, 1),
    biplanar420(kCVPixelFormatType_420YpCbCr8BiPlanarFullRange, true, 1),
    biplanar420(kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange, false, 2),
    biplanar420(kCVPixelFormatType_420YpCbCr10BiPlanarFullRange, true, 2),
};

} // namespace

const PixelFormatDescriptor* pixelFormatDescriptor(OSType pixelFormat) {
    const auto* found =
        std::find_if(kDescriptors.begin(), kDescriptors.end(),
                     [&](const auto& entry) { return entry.pixelFormat == pixelFormat; });
    return found == kDescriptors.end() ? nullptr : found;
}

bool pixelFormatIsYCbCr(OSType pixelFormat) {
    const auto* descriptor = pixelFormatDescriptor(pixelFormat);
    return descriptor == nullptr || descriptor->isYCbCr;
}

} // namespace zelvane

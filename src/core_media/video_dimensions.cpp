// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/video_dimensions.h"

#include "foundation/log.h"

namespace zelvane {
namespace {

CGSize inSquarePixels(int width, int height, double pixelAspectRatio) {
    if (pixelAspectRatio > 1.0) {
        return {width * pixelAspectRatio, static_cast<double>(height)};
    }
    return {static_cast<double>(width), height / pixelAspectRatio};
}

CGSize transformed(const CGSize& size, const std::optional<CGAffineTransform>& transform) {
    if (!transform) {
        return size;
    }
    const CGRect bounds = applyAffineTransform({0, 0, size.width, size.height}, *transform);
    return {bounds.width, bounds.height};
}

double positive(double pixelAspectRatio) {
    if (!(pixelAspectRatio > 0)) {
        fatalError("A pixel aspect ratio must be above 0.");
    }
    return pixelAspectRatio;
}

int atLeastOne(int pixels) {
    if (pixels < 1) {
        fatalError("A picture must be at least one pixel wide and high.");
    }
    return pixels;
}

} // namespace

VideoDimensions::VideoDimensions(int widthInPixels, int heightInPixels,
                                 std::optional<CGAffineTransform> transform, double ratio)
    : width(atLeastOne(widthInPixels)), height(atLeastOne(heightInPixels)),
      pixelAspectRatio(positive(ratio)), displayTransform(transform),
      squarePixelSize(inSquarePixels(width, height, pixelAspectRatio)),
      effectiveSize(transformed(squarePixelSize, displayTransform)),
      aspectRatio(effectiveSize.width / effectiveSize.height) {}

} // namespace zelvane

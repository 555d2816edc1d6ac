// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <utility>

#include "core_media/cv_pixel_buffer.h"

namespace zelvane::test {

/// A pixel buffer in memory from a pool, with the given attachments.
inline CVPixelBufferRef makePixelBuffer(OSType pixelFormat, int width, int height,
                                        CVAttachments propagatedAttachments = {}) {
    CVPixelBufferPoolAttributes attributes;
    attributes.pixelFormat = pixelFormat;
    attributes.width = width;
    attributes.height = height;
    attributes.propagatedAttachments = std::move(propagatedAttachments);
    return CVPixelBufferPool(std::move(attributes)).makePixelBuffer();
}

} // namespace zelvane::test

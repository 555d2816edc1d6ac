// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <utility>

#include <gtest/gtest.h>

#include "core_media/cv_pixel_buffer.h"

namespace zelvane::test {

/// A picture in memory as a pool makes it, with those attachments.
inline CVPixelBufferRef makePixelBuffer(OSType pixelFormat, int width, int height,
                                        CVAttachments propagatedAttachments = {}) {
    CVPixelBufferPoolAttributes attributes;
    attributes.pixelFormat = pixelFormat;
    attributes.width = width;
    attributes.height = height;
    attributes.propagatedAttachments = std::move(propagatedAttachments);
    std::unique_ptr<CVPixelBufferPool> pool;
    CVPixelBufferRef pixelBuffer;
    EXPECT_EQ(CVPixelBufferPool::create(std::move(attributes), pool), kCVReturnSuccess);
    EXPECT_EQ(pool->createPixelBuffer(pixelBuffer), kCVReturnSuccess);
    return pixelBuffer;
}

} // namespace zelvane::test

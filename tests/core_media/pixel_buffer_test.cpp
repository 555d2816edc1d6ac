// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstring>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "core_media/cv_pixel_buffer.h"
#include "core_media/ffmpeg_pixel_format.h"

namespace zelvane {
namespace {

constexpr std::array kAllFormats{
    kCVPixelFormatType_24RGB,
    kCVPixelFormatType_32ARGB,
    kCVPixelFormatType_32BGRA,
    kCVPixelFormatType_64ARGB,
    kCVPixelFormatType_422YpCbCr8,
    kCVPixelFormatType_422YpCbCr8_yuvs,
    kCVPixelFormatType_422YpCbCr8FullRange,
    kCVPixelFormatType_4444AYpCbCr16,
    kCVPixelFormatType_420YpCbCr8Planar,
    kCVPixelFormatType_420YpCbCr8PlanarFullRange,
    kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange,
    kCVPixelFormatType_420YpCbCr8BiPlanarFullRange,
    kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange,
    kCVPixelFormatType_420YpCbCr10BiPlanarFullRange,
};

CVPixelBufferPoolAttributes attributesOf(OSType pixelFormat, int width, int height) {
    CVPixelBufferPoolAttributes attributes;
    attributes.pixelFormat = pixelFormat;
    attributes.width = width;
    attributes.height = height;
    return attributes;
}

TEST(PixelFormats, agreeWithFFmpegOnPlanesAndBytes) {
    for (const OSType format : kAllFormats) {
        const auto* descriptor = pixelFormatDescriptor(format);
        ASSERT_NE(descriptor, nullptr) << fourCharCodeText(format);
        const AVPixelFormat ffmpegFormat = ffmpegPixelFormat(format);
        if (ffmpegFormat == AV_PIX_FMT_NONE) {
            continue;
        }
        EXPECT_EQ(descriptor->planeCount, av_pix_fmt_count_planes(ffmpegFormat));
        // Even widths: FFmpeg counts an odd pixel of packed 4:2:2 as two bytes, a block has four.
        for (const int width : {2, 640, 1918}) {
            for (int plane = 0; plane < descriptor->planeCount; ++plane) {
                const auto& layout = descriptor->planes.at(static_cast<std::size_t>(plane));
                EXPECT_EQ(width / layout.widthDivisor * layout.bytesPerBlock,
                          av_image_get_linesize(ffmpegFormat, width, plane))
                    << fourCharCodeText(format) << " plane " << plane;
            }
        }
        const auto* library = av_pix_fmt_desc_get(ffmpegFormat);
        EXPECT_EQ(descriptor->isYCbCr, (library->flags & AV_PIX_FMT_FLAG_RGB) == 0)
            << fourCharCodeText(format);
    }
    EXPECT_EQ(pixelFormatDescriptor(fourCharCode("none")), nullptr);
    EXPECT_TRUE(pixelFormatIsYCbCr(fourCharCode("none")));
    EXPECT_FALSE(pixelFormatIsYCbCr(kCVPixelFormatType_64ARGB));
    EXPECT_EQ(fourCharCodeText(kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange), "x420");
    EXPECT_EQ(fourCharCodeText(kCVPixelFormatType_24RGB), "0x00000018");
}

/// Writes all rows and extensions of a buffer, under ASan where it runs, and reads them again.
void expectRoomForAllPlanes(const CVPixelBufferPoolAttributes& attributes) {
    const CVPixelBufferPool pool(attributes);
    const auto buffer = pool.makePixelBuffer();
    const auto* descriptor = pixelFormatDescriptor(attributes.pixelFormat);
    ASSERT_EQ(buffer->planeCount(), descriptor->planeCount);
    const auto alignment = static_cast<std::size_t>(attributes.bytesPerRowAlignment);
    for (int i = 0; i < buffer->planeCount(); ++i) {
        const auto& layout = descriptor->planes.at(static_cast<std::size_t>(i));
        const auto& plane = buffer->plane(i);
        const int rows =
            (attributes.height + attributes.extendedPixelsBottom + layout.heightDivisor - 1) /
            layout.heightDivisor;
        const int blocks =
            (attributes.width + attributes.extendedPixelsRight + layout.widthDivisor - 1) /
            layout.widthDivisor;
        EXPECT_EQ(plane.width, (attributes.width + layout.widthDivisor - 1) / layout.widthDivisor);
        EXPECT_EQ(plane.height,
                  (attributes.height + layout.heightDivisor - 1) / layout.heightDivisor);
        EXPECT_EQ(plane.bytesPerRow % alignment, 0U);
        EXPECT_GE(plane.bytesPerRow, static_cast<std::size_t>(blocks * layout.bytesPerBlock));
        EXPECT_LT(plane.bytesPerRow,
                  static_cast<std::size_t>(blocks * layout.bytesPerBlock) + alignment);
        std::memset(plane.baseAddress, i + 1, plane.bytesPerRow * static_cast<std::size_t>(rows));
    }
    for (int i = 0; i < buffer->planeCount(); ++i) {
        const auto& plane = buffer->plane(i);
        const std::size_t last = plane.bytesPerRow * static_cast<std::size_t>(plane.height) - 1;
        EXPECT_EQ(plane.baseAddress[0], i + 1) << "another plane wrote here";
        EXPECT_EQ(plane.baseAddress[last], i + 1) << "another plane wrote here";
    }
}

TEST(PixelBufferPool, everyFormatHasRoomForItsRowsAndExtensions) {
    for (const OSType format : kAllFormats) {
        for (const auto& [width, height] : {std::pair{1, 1}, {641, 361}, {1920, 1080}}) {
            for (const int alignment : {1, 16, 64}) {
                SCOPED_TRACE(fourCharCodeText(format) + " " + std::to_string(width));
                auto attributes = attributesOf(format, width, height);
                attributes.bytesPerRowAlignment = alignment;
                expectRoomForAllPlanes(attributes);
                attributes.extendedPixelsRight = 31;
                attributes.extendedPixelsBottom = 9;
                expectRoomForAllPlanes(attributes);
            }
        }
    }
}

TEST(PixelBufferPool, refusesInvalidAttributes) {
    const auto good = attributesOf(kCVPixelFormatType_32BGRA, 16, 16);
    struct Case {
        std::function<void(CVPixelBufferPoolAttributes&)> spoil;
        CVReturn result;
    };
    const std::vector<Case> cases{
        {[](auto& a) { a.pixelFormat = fourCharCode("none"); }, kCVReturnInvalidPixelFormat},
        {[](auto& a) { a.width = 0; }, kCVReturnInvalidSize},
        {[](auto& a) { a.height = -4; }, kCVReturnInvalidSize},
        {[](auto& a) { a.width = 1 << 20; }, kCVReturnInvalidSize},
        {[](auto& a) { a.extendedPixelsRight = 0x7fffffff; }, kCVReturnInvalidSize},
        {[](auto& a) { a.extendedPixelsBottom = -1; }, kCVReturnInvalidArgument},
        {[](auto& a) { a.bytesPerRowAlignment = 0; }, kCVReturnInvalidArgument},
        {[](auto& a) { a.bytesPerRowAlignment = 24; }, kCVReturnInvalidArgument},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        auto attributes = good;
        cases[i].spoil(attributes);
        try {
            const CVPixelBufferPool pool(attributes);
            ADD_FAILURE() << i;
        } catch (const SystemError& error) {
            EXPECT_EQ(error, SystemError("com.apple.corevideo", cases[i].result)) << i;
        }
    }
}

TEST(PixelBufferPool, reusesReleasedMemory) {
    const CVPixelBufferPool pool(attributesOf(kCVPixelFormatType_32BGRA, 64, 64));
    std::set<const std::uint8_t*> addresses;
    for (int i = 0; i < 100; ++i) {
        addresses.insert(pool.makePixelBuffer()->plane(0).baseAddress);
    }
    EXPECT_EQ(addresses.size(), 1U);
    const auto first = pool.makePixelBuffer();
    const auto second = pool.makePixelBuffer();
    EXPECT_NE(first->plane(0).baseAddress, second->plane(0).baseAddress);
}

TEST(PixelBufferPool, mayBeDestroyedBeforeItsBuffers) {
    auto pool =
        std::make_unique<CVPixelBufferPool>(attributesOf(kCVPixelFormatType_32BGRA, 64, 64));
    auto buffer = pool->makePixelBuffer();
    pool.reset();
    std::memset(buffer->plane(0).baseAddress, 1, buffer->dataSize());
    std::thread([last = std::move(buffer)] {}).join();
}

TEST(PixelBufferPool, eachBufferStartsWithThePropagatedAttachments) {
    const CVAttachments propagated{
        {std::string(kCVImageBufferYCbCrMatrixKey),
         std::string(kCVImageBufferYCbCrMatrix_ITU_R_709_2)},
        {std::string(kCVImageBufferGammaLevelKey), 2.2},
    };
    auto attributes = attributesOf(kCVPixelFormatType_420YpCbCr8Planar, 16, 16);
    attributes.propagatedAttachments = propagated;
    const CVPixelBufferPool pool(attributes);
    for (int i = 0; i < 2; ++i) {
        const auto buffer = pool.makePixelBuffer();
        EXPECT_EQ(buffer->attachments(), propagated);
        // The next user of the memory does not see these attachments.
        buffer->setAttachment(kCVImageBufferGammaLevelKey, 2.4);
        buffer->setAttachment("mine", true);
        EXPECT_EQ(*buffer->attachment<double>(kCVImageBufferGammaLevelKey), 2.4);
        EXPECT_EQ(buffer->attachment<bool>(kCVImageBufferGammaLevelKey), nullptr);
        EXPECT_TRUE(buffer->hasAttachment("mine"));
        buffer->removeAttachment("mine");
        EXPECT_FALSE(buffer->hasAttachment("mine"));
    }
}

ffmpeg::Frame makeFrame(AVPixelFormat format, int width, int height) {
    ffmpeg::Frame frame(av_frame_alloc());
    frame->format = format;
    frame->width = width;
    frame->height = height;
    EXPECT_EQ(av_frame_get_buffer(frame.get(), 0), 0);
    return frame;
}

TEST(PixelBuffer, wrapsAFramesMemoryAndKeepsIt) {
    auto frame = makeFrame(AV_PIX_FMT_NV12, 33, 17);
    const std::uint8_t* luma = frame->data[0];
    const std::uint8_t* chroma = frame->data[1];
    const auto buffer = CVPixelBuffer::wrappingFrame(
        std::move(frame), kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange);
    ASSERT_NE(buffer, nullptr);
    EXPECT_TRUE(buffer->isPlanar());
    EXPECT_EQ(buffer->plane(0).baseAddress, luma);
    EXPECT_EQ(buffer->plane(1).baseAddress, chroma);
    EXPECT_EQ(buffer->plane(1).width, 17);
    EXPECT_EQ(buffer->plane(1).height, 9);
    std::memset(buffer->plane(1).baseAddress, 7, buffer->plane(1).bytesPerRow * 9);
}

TEST(PixelBuffer, refusesFramesOfAnotherLayout) {
    EXPECT_EQ(CVPixelBuffer::wrappingFrame(makeFrame(AV_PIX_FMT_YUV422P, 16, 16),
                                           kCVPixelFormatType_420YpCbCr8Planar),
              nullptr);
    auto upward = makeFrame(AV_PIX_FMT_BGRA, 16, 16);
    upward->linesize[0] = -upward->linesize[0];
    EXPECT_EQ(CVPixelBuffer::wrappingFrame(std::move(upward), kCVPixelFormatType_32BGRA), nullptr);
    EXPECT_EQ(CVPixelBuffer::wrappingFrame(nullptr, kCVPixelFormatType_32BGRA), nullptr);
    EXPECT_EQ(CVPixelBuffer::onDevice(makeFrame(AV_PIX_FMT_NV12, 16, 16),
                                      kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange),
              nullptr);
}

} // namespace
} // namespace zelvane

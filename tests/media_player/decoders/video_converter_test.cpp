// SPDX-License-Identifier: GPL-3.0-or-later
#include <random>

#include <gtest/gtest.h>

#include "core_media/ffmpeg_error.h"
#include "tests/media_player/decoders/video_decoding.h"
#include "tests/support/case_name.h"
#include "tests/support/clips.h"
#include "tests/support/log_capture.h"
#include "tests/support/pixel_buffers.h"

namespace zelvane::test {
namespace {

struct ClipCase {
    std::string name;
    std::string codec;
    std::string codedFormat;
    std::string size;
    OSType expectedPixelFormat;
    /// The format in which ffmpeg writes the expected picture.
    std::string rawFormat;
};

class ConvertedClip : public testing::TestWithParam<ClipCase> {};

/// The first byte in which the frames differ; none for equal frames.
std::optional<std::size_t> firstDifference(const std::vector<CMSampleBufferRef>& buffers,
                                           const std::vector<std::uint8_t>& expected) {
    std::vector<std::uint8_t> all;
    for (const auto& buffer : buffers) {
        const auto bytes = visibleBytes(*buffer->imageBuffer());
        all.insert(all.end(), bytes.begin(), bytes.end());
    }
    const auto [a, b] = std::mismatch(all.begin(), all.end(), expected.begin(), expected.end());
    return a == all.end() && b == expected.end()
               ? std::nullopt
               : std::optional(static_cast<std::size_t>(a - all.begin()));
}

/// Frames of planar 4:2:0 as those of p010le, by its definition: chroma in pairs, all samples at
/// the high end of 16 bits.
std::vector<std::uint8_t> packedByDefinition(const std::vector<std::uint8_t>& planar, int width,
                                             int height, int depth) {
    const std::size_t luma = static_cast<std::size_t>(width) * height;
    const std::size_t chroma = static_cast<std::size_t>((width + 1) / 2) * ((height + 1) / 2);
    std::vector<std::uint8_t> packed;
    const auto append = [&](std::size_t sample) {
        const int value = (planar[2 * sample] | planar[2 * sample + 1] << 8) << (16 - depth);
        packed.push_back(static_cast<std::uint8_t>(value));
        packed.push_back(static_cast<std::uint8_t>(value >> 8));
    };
    for (std::size_t frame = 0; frame < planar.size() / 2; frame += luma + 2 * chroma) {
        for (std::size_t i = 0; i < luma; ++i) {
            append(frame + i);
        }
        for (std::size_t i = 0; i < chroma; ++i) {
            append(frame + luma + i);
            append(frame + luma + chroma + i);
        }
    }
    return packed;
}

TEST_P(ConvertedClip, equalsWhatFFmpegWritesInThatFormat) {
    const auto& test = GetParam();
    const auto clip = madeClip("video_" + test.name + ".nut",
                               {"-f", "lavfi", "-i", "testsrc=r=5:d=1:s=" + test.size, "-vf",
                                "noise=alls=20:allf=t", "-c:v", test.codec, "-pix_fmt",
                                test.codedFormat, "-flags", "+bitexact"});
    const auto buffers = decodeClip(clip);
    ASSERT_EQ(buffers.size(), 5U);
    const auto& picture = *buffers[0]->imageBuffer();
    EXPECT_EQ(picture.pixelFormat(), test.expectedPixelFormat);
    EXPECT_EQ(fmt::format("{}x{}", picture.width(), picture.height()), test.size);
    auto expected = rawVideo("video_" + test.name, clip, test.rawFormat);
    const auto depth = av_pix_fmt_desc_get(av_get_pix_fmt(test.rawFormat.c_str()))->comp[0].depth;
    if (test.rawFormat.starts_with("yuv420p1")) {
        expected = packedByDefinition(expected, picture.width(), picture.height(), depth);
    }
    EXPECT_EQ(firstDifference(buffers, expected), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(
    Formats, ConvertedClip,
    testing::Values(
        ClipCase{"420p", "ffv1", "yuv420p", "162x122", kCVPixelFormatType_420YpCbCr8Planar,
                 "yuv420p"},
        ClipCase{"420p_odd", "ffv1", "yuv420p", "161x121", kCVPixelFormatType_420YpCbCr8Planar,
                 "yuv420p"},
        ClipCase{"j420", "mjpeg", "yuvj420p", "64x48", kCVPixelFormatType_420YpCbCr8PlanarFullRange,
                 "yuvj420p"},
        ClipCase{"420p10", "ffv1", "yuv420p10le", "162x122",
                 kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange, "p010le"},
        ClipCase{"420p10_odd", "ffv1", "yuv420p10le", "161x121",
                 kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange, "yuv420p10le"},
        ClipCase{"420p10_tiny", "ffv1", "yuv420p10le", "1x1",
                 kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange, "yuv420p10le"},
        ClipCase{"420p12_odd", "ffv1", "yuv420p12le", "67x19",
                 kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange, "yuv420p12le"},
        ClipCase{"422p10", "ffv1", "yuv422p10le", "162x122",
                 kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange, "p010le"},
        ClipCase{"422p10_odd", "ffv1", "yuv422p10le", "161x121",
                 kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange, "yuv420p10le"},
        ClipCase{"444p", "ffv1", "yuv444p", "162x122", kCVPixelFormatType_422YpCbCr8, "uyvy422"},
        ClipCase{"422p", "ffv1", "yuv422p", "162x122", kCVPixelFormatType_422YpCbCr8, "uyvy422"},
        ClipCase{"uyvy", "rawvideo", "uyvy422", "162x122", kCVPixelFormatType_422YpCbCr8,
                 "uyvy422"},
        ClipCase{"gbrp10", "ffv1", "gbrp10le", "162x122", kCVPixelFormatType_32BGRA, "bgra"},
        ClipCase{"bgra", "ffv1", "bgra", "161x121", kCVPixelFormatType_32BGRA, "bgra"},
        ClipCase{"gray", "ffv1", "gray", "161x121", kCVPixelFormatType_32BGRA, "bgra"},
        ClipCase{"tiny", "ffv1", "yuv420p", "1x1", kCVPixelFormatType_420YpCbCr8Planar, "yuv420p"}),
    caseName);

/// A picture of noise.
ffmpeg::Frame makeNoise(AVPixelFormat format, int width, int height) {
    ffmpeg::Frame frame(av_frame_alloc());
    frame->format = format;
    frame->width = width;
    frame->height = height;
    EXPECT_GE(av_frame_get_buffer(frame.get(), 0), 0);
    std::minstd_rand random(5);
    const auto* const description = av_pix_fmt_desc_get(format);
    for (int plane = 0; plane < description->nb_components; ++plane) {
        const int rows = plane == 0 ? height : AV_CEIL_RSHIFT(height, description->log2_chroma_h);
        for (int i = 0; i < frame->linesize[plane] * rows; ++i) {
            frame->data[plane][i] = static_cast<std::uint8_t>(random() >> 8);
        }
    }
    return frame;
}

TEST(PackedP010, aPictureLargeEnoughForTwoThreadsIsPackedToItsLastRow) {
    constexpr int kWidth = 2049;
    constexpr int kHeight = 1201;
    const auto frame = makeNoise(AV_PIX_FMT_YUV420P10LE, kWidth, kHeight);
    FFmpegPixelFormatConverter converter(AV_PIX_FMT_YUV420P10LE, AVCOL_RANGE_UNSPECIFIED, kWidth,
                                         kHeight);
    const auto pixelBuffer =
        test::makePixelBuffer(converter.destinationPixelFormat(), kWidth, kHeight);
    converter.convert(*frame, *pixelBuffer);

    std::vector<std::uint8_t> planar(static_cast<std::size_t>(
        av_image_get_buffer_size(AV_PIX_FMT_YUV420P10LE, kWidth, kHeight, 1)));
    av_image_copy_to_buffer(planar.data(), static_cast<int>(planar.size()), frame->data,
                            frame->linesize, AV_PIX_FMT_YUV420P10LE, kWidth, kHeight, 1);
    EXPECT_TRUE(visibleBytes(*pixelBuffer) == packedByDefinition(planar, kWidth, kHeight, 10));
}

TEST(GreyFrames, useTheStatedRange) {
    struct Row {
        AVPixelFormat format;
        AVColorRange range;
        std::vector<int> samples;
        std::vector<int> codes;
    };
    for (const auto& row : {
             Row{AV_PIX_FMT_GRAY8,
                 AVCOL_RANGE_MPEG,
                 {0, 16, 17, 126, 235, 255},
                 {0, 0, 1, 128, 255, 255}},
             Row{AV_PIX_FMT_GRAY8, AVCOL_RANGE_JPEG, {0, 16, 255}, {0, 16, 255}},
             Row{AV_PIX_FMT_GRAY8, AVCOL_RANGE_UNSPECIFIED, {0, 16, 255}, {0, 16, 255}},
             Row{AV_PIX_FMT_GRAY10LE,
                 AVCOL_RANGE_MPEG,
                 {64, 502, 940, 1023, 65535},
                 {0, 128, 255, 255, 255}},
             Row{AV_PIX_FMT_GRAY16LE, AVCOL_RANGE_JPEG, {0, 128, 129, 65535}, {0, 0, 1, 255}},
         }) {
        const int width = static_cast<int>(row.samples.size());
        const auto frame = makeNoise(row.format, width, 1);
        for (std::size_t x = 0; x < row.samples.size(); ++x) {
            const bool isWide = row.format != AV_PIX_FMT_GRAY8;
            std::memcpy(frame->data[0] + x * (isWide ? 2 : 1), &row.samples[x], isWide ? 2 : 1);
        }
        FFmpegPixelFormatConverter converter(row.format, row.range, width, 1);
        const auto picture = makePixelBuffer(kCVPixelFormatType_32BGRA, width, 1);
        converter.convert(*frame, *picture);
        std::vector<std::uint8_t> expected;
        for (const int code : row.codes) {
            const auto byte = static_cast<std::uint8_t>(code);
            expected.insert(expected.end(), {byte, byte, byte, 255});
        }
        EXPECT_EQ(visibleBytes(*picture), expected) << row.format << " " << row.range;
    }
}

class Packed422 : public testing::TestWithParam<std::tuple<AVPixelFormat, int>> {};

TEST_P(Packed422, holdsEverySampleUnchangedUpToTheLastColumn) {
    const auto [format, width] = GetParam();
    const bool isFullRange = format == AV_PIX_FMT_YUVJ422P;
    const int height = 6;
    const auto frame = makeNoise(format, width, height);
    FFmpegPixelFormatConverter converter(format, AVCOL_RANGE_UNSPECIFIED, width, height);
    ASSERT_TRUE(converter.isConversionNeeded());
    ASSERT_EQ(converter.destinationPixelFormat(),
              isFullRange ? kCVPixelFormatType_422YpCbCr8FullRange : kCVPixelFormatType_422YpCbCr8);
    const auto pixelBuffer =
        test::makePixelBuffer(converter.destinationPixelFormat(), width, height);
    converter.convert(*frame, *pixelBuffer);

    const int luma = isFullRange ? 0 : 1;
    for (int y = 0; y < height; ++y) {
        const auto* row = pixelBuffer->plane(0).baseAddress + y * pixelBuffer->plane(0).bytesPerRow;
        const auto sample = [&](int plane, int x) {
            return frame->data[plane][y * frame->linesize[plane] + x];
        };
        for (int x = 0; x < width; ++x) {
            ASSERT_EQ(row[2 * x + luma], sample(0, x)) << x << " of row " << y;
            ASSERT_EQ(row[x / 2 * 4 + 1 - luma], sample(1, x / 2));
            ASSERT_EQ(row[x / 2 * 4 + 3 - luma], sample(2, x / 2));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Widths, Packed422,
                         testing::Combine(testing::Values(AV_PIX_FMT_YUV422P, AV_PIX_FMT_YUVJ422P),
                                          testing::Values(1, 2, 3, 33, 64, 161)));

TEST(PixelFormatConverter, refusesUnsupportedFormatsAndSizes) {
    struct Row {
        AVPixelFormat format;
        int width;
        int height;
    };
    for (const auto& row : {Row{AV_PIX_FMT_NONE, 16, 16}, Row{AV_PIX_FMT_VAAPI, 16, 16},
                            Row{AV_PIX_FMT_YUV444P, 0, 16}, Row{AV_PIX_FMT_YUV444P, 16, -1}}) {
        const LogCapture log;
        try {
            const FFmpegPixelFormatConverter converter(row.format, AVCOL_RANGE_MPEG, row.width,
                                                       row.height);
            ADD_FAILURE() << "nothing was thrown for format " << row.format;
        } catch (const FFmpegError& error) {
            EXPECT_EQ(error.errorCase(), FFmpegError::Case::allocationFailure);
        }
        EXPECT_EQ(log.count("sws_getContext failed."), 1U);
    }
}

} // namespace
} // namespace zelvane::test

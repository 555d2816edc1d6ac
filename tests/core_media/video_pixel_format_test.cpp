// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "core_media/ffmpeg_pixel_format.h"

namespace zelvane::test {
namespace {

struct PixelFormatCase {
    AVPixelFormat format;
    AVColorRange range;
    /// Four characters, or none.
    std::string corresponding;
    std::string target;
};

class VideoPixelFormat : public testing::TestWithParam<PixelFormatCase> {};

TEST_P(VideoPixelFormat, correspondsToADisplayFormatOrHasATarget) {
    const auto& [format, range, corresponding, target] = GetParam();
    const auto found = correspondingPixelFormat({format, range});
    EXPECT_EQ(found ? fourCharCodeText(*found) : "", corresponding);
    if (!found || !isSupportedPixelFormat(*found)) {
        EXPECT_EQ(fourCharCodeText(conversionTarget({format, range})), target);
    } else {
        EXPECT_EQ(ffmpegPixelFormat(*found), canonicalLayout(format, range).format);
    }
}

constexpr auto kUnstated = AVCOL_RANGE_UNSPECIFIED;
constexpr auto kVideo = AVCOL_RANGE_MPEG;
constexpr auto kFull = AVCOL_RANGE_JPEG;

INSTANTIATE_TEST_SUITE_P(
    Direct, VideoPixelFormat,
    testing::Values(PixelFormatCase{AV_PIX_FMT_RGB24, kUnstated, "0x00000018", ""},
                    PixelFormatCase{AV_PIX_FMT_RGB24, kFull, "0x00000018", ""},
                    PixelFormatCase{AV_PIX_FMT_ARGB, kVideo, "0x00000020", ""},
                    PixelFormatCase{AV_PIX_FMT_BGRA, kFull, "BGRA", ""},
                    PixelFormatCase{AV_PIX_FMT_UYVY422, kUnstated, "2vuy", ""},
                    PixelFormatCase{AV_PIX_FMT_YUV420P, kUnstated, "y420", ""},
                    PixelFormatCase{AV_PIX_FMT_YUV420P, kFull, "f420", ""},
                    PixelFormatCase{AV_PIX_FMT_YUVJ420P, kUnstated, "f420", ""},
                    PixelFormatCase{AV_PIX_FMT_YUVJ420P, kVideo, "f420", ""},
                    PixelFormatCase{AV_PIX_FMT_NV12, kVideo, "420v", ""},
                    PixelFormatCase{AV_PIX_FMT_NV12, kFull, "420f", ""},
                    PixelFormatCase{AV_PIX_FMT_YUYV422, kVideo, "yuvs", ""},
                    PixelFormatCase{AV_PIX_FMT_YUYV422, kFull, "yuvf", ""},
                    PixelFormatCase{AV_PIX_FMT_P010LE, kUnstated, "x420", ""},
                    PixelFormatCase{AV_PIX_FMT_P010LE, kFull, "xf20", ""}));

INSTANTIATE_TEST_SUITE_P(
    Converted, VideoPixelFormat,
    testing::Values(PixelFormatCase{AV_PIX_FMT_AYUV64LE, kVideo, "y416", "x420"},
                    PixelFormatCase{AV_PIX_FMT_UYVY422, kFull, "", "yuvf"},
                    PixelFormatCase{AV_PIX_FMT_YUV422P, kUnstated, "", "2vuy"},
                    PixelFormatCase{AV_PIX_FMT_YUVJ444P, kUnstated, "", "yuvf"},
                    PixelFormatCase{AV_PIX_FMT_YUVA420P, kFull, "", "yuvf"},
                    PixelFormatCase{AV_PIX_FMT_YUV420P9LE, kUnstated, "", "x420"},
                    PixelFormatCase{AV_PIX_FMT_YUV420P10LE, kUnstated, "", "x420"},
                    PixelFormatCase{AV_PIX_FMT_YUV422P12LE, kFull, "", "xf20"},
                    PixelFormatCase{AV_PIX_FMT_GBRP10LE, kUnstated, "", "BGRA"},
                    PixelFormatCase{AV_PIX_FMT_GRAY8, kFull, "", "BGRA"},
                    PixelFormatCase{AV_PIX_FMT_PAL8, kUnstated, "", "BGRA"},
                    PixelFormatCase{AV_PIX_FMT_NONE, kUnstated, "", "BGRA"}));

} // namespace
} // namespace zelvane::test

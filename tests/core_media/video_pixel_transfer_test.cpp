// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <random>

#include <gtest/gtest.h>

#include "core_media/device_picture.h"
#include "core_media/ffmpeg_pixel_buffer.h"
#include "core_media/pixel_transfer.h"
#include "tests/support/pixel_buffers.h"

namespace zelvane::test {
namespace {

std::uint8_t& at(const CVPixelBuffer& picture, int plane, int x, int y) {
    const auto& memory = picture.plane(plane);
    return memory.baseAddress[y * memory.bytesPerRow + x];
}

void fillWithNoise(const CVPixelBuffer& picture) {
    std::minstd_rand random(7);
    for (int plane = 0; plane < picture.planeCount(); ++plane) {
        for (int y = 0; y < picture.plane(plane).height; ++y) {
            for (int x = 0; x < picture.plane(plane).width * (plane + 1); ++x) {
                at(picture, plane, x, y) = static_cast<std::uint8_t>(random() >> 8);
            }
        }
    }
}

/// Chroma at a position of the luma grid: samples are at x = 2i, y = 2j + 1/2, with linear
/// interpolation between them.
double chromaAt(const CVPixelBuffer& picture, int component, double x, double y) {
    const auto sample = [&](int i, int j) {
        const auto& plane = picture.plane(1);
        return static_cast<double>(at(picture, 1, 2 * std::clamp(i, 0, plane.width - 1) + component,
                                      std::clamp(j, 0, plane.height - 1)));
    };
    const double column = x / 2;
    const double row = (y - 0.5) / 2;
    const int i = static_cast<int>(std::floor(column));
    const int j = static_cast<int>(std::floor(row));
    const double right = column - i;
    const double below = row - j;
    return (1 - below) * ((1 - right) * sample(i, j) + right * sample(i + 1, j)) +
           below * ((1 - right) * sample(i, j + 1) + right * sample(i + 1, j + 1));
}

struct TransferCase {
    OSType source;
    std::string_view matrix;
    double kr;
    double kb;
    int width;
    int height;
};

class PixelTransfer : public testing::TestWithParam<TransferCase> {};

/// R, G, B between 0 and 1, in double precision from the matrix's definition.
std::array<double, 3> expectedRGB(const CVPixelBuffer& picture, const TransferCase& test, int x,
                                  int y) {
    const bool full = test.source == kCVPixelFormatType_420YpCbCr8BiPlanarFullRange;
    const double luma = full ? at(picture, 0, x, y) / 255.0 : (at(picture, 0, x, y) - 16) / 219.0;
    const double scale = full ? 255.0 : 224.0;
    const double cb = (chromaAt(picture, 0, x, y) - 128) / scale;
    const double cr = (chromaAt(picture, 1, x, y) - 128) / scale;
    const double red = luma + 2 * (1 - test.kr) * cr;
    const double blue = luma + 2 * (1 - test.kb) * cb;
    const double green = (luma - test.kr * red - test.kb * blue) / (1 - test.kr - test.kb);
    return {std::clamp(red, 0.0, 1.0), std::clamp(green, 0.0, 1.0), std::clamp(blue, 0.0, 1.0)};
}

TEST_P(PixelTransfer, isExactForTheStatedMatrixAndRange) {
    const auto& test = GetParam();
    const auto source = makePixelBuffer(test.source, test.width, test.height);
    fillWithNoise(*source);
    if (!test.matrix.empty()) {
        source->setAttachment(kCVImageBufferYCbCrMatrixKey, std::string(test.matrix));
    }
    const auto bgra = makePixelBuffer(kCVPixelFormatType_32BGRA, test.width, test.height);
    const auto b64a = makePixelBuffer(kCVPixelFormatType_64ARGB, test.width, test.height);
    const PixelTransferSession session;
    session.transferImage(*source, *bgra);
    session.transferImage(*source, *b64a);
    double worst8 = 0;
    double worst16 = 0;
    for (int y = 0; y < test.height; ++y) {
        for (int x = 0; x < test.width; ++x) {
            const auto expected = expectedRGB(*source, test, x, y);
            EXPECT_EQ(at(*bgra, 0, 4 * x + 3, y), 255);
            for (int c = 0; c < 3; ++c) {
                const int code16 =
                    at(*b64a, 0, 8 * x + 2 + 2 * c, y) << 8 | at(*b64a, 0, 8 * x + 3 + 2 * c, y);
                const double error8 = at(*bgra, 0, 4 * x + 2 - c, y) - expected.at(c) * 255;
                worst8 = std::max(worst8, std::abs(error8));
                worst16 = std::max(worst16, std::abs(code16 - expected.at(c) * 65535));
            }
        }
    }
    EXPECT_LE(worst8, 0.501);
    EXPECT_LE(worst16, 1.0);
}

INSTANTIATE_TEST_SUITE_P(
    Matrices, PixelTransfer,
    testing::Values(TransferCase{kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange,
                                 kCVImageBufferYCbCrMatrix_ITU_R_709_2, 0.2126, 0.0722, 64, 32},
                    TransferCase{kCVPixelFormatType_420YpCbCr8BiPlanarFullRange,
                                 kCVImageBufferYCbCrMatrix_ITU_R_601_4, 0.299, 0.114, 33, 17},
                    TransferCase{kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange,
                                 kCVImageBufferYCbCrMatrix_ITU_R_2020, 0.2627, 0.0593, 1, 1},
                    TransferCase{kCVPixelFormatType_420YpCbCr8BiPlanarFullRange,
                                 kCVImageBufferYCbCrMatrix_SMPTE_240M_1995, 0.212, 0.087, 16, 3},
                    TransferCase{kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange, "", 0.299, 0.114,
                                 16, 16},
                    TransferCase{kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange, "", 0.2126,
                                 0.0722, 1280, 2}));

TEST(PixelTransferSession, refusesOtherFormatsAndSizes) {
    const auto nv12 = makePixelBuffer(kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange, 16, 16);
    const auto bgra = makePixelBuffer(kCVPixelFormatType_32BGRA, 16, 16);
    const auto smaller = makePixelBuffer(kCVPixelFormatType_32BGRA, 8, 16);
    const PixelTransferSession session;
    EXPECT_THROW(session.transferImage(*nv12, *smaller), SystemError);
    EXPECT_THROW(session.transferImage(*bgra, *bgra), SystemError);
    EXPECT_THROW(session.transferImage(*nv12, *nv12), SystemError);
}

TEST(DMABufPlanes, areThoseOfTheLayers) {
    AVDRMFrameDescriptor description{};
    description.nb_objects = 2;
    description.objects[1] = {7, 9000, 0x0100000000000001};
    description.nb_layers = 2;
    description.layers[0] = {0x20203852, 1, {{1, 16, 128}}};
    description.layers[1] = {0x38385247, 1, {{1, 8192, 256}}};
    const auto planes = dmaBufPlanes(description);
    ASSERT_EQ(planes.size(), 2U);
    EXPECT_EQ(planes[0].offset, 16U);
    EXPECT_EQ(planes[0].bytesPerRow, 128U);
    EXPECT_EQ(planes[1].format, 0x38385247U);
    EXPECT_EQ(planes[1].offset, 8192U);
    EXPECT_EQ(planes[1].fileDescriptor, 7);
    EXPECT_EQ(planes[1].size, 9000U);
    EXPECT_EQ(planes[1].modifier, 0x0100000000000001U);

    const std::vector<std::function<void(AVDRMFrameDescriptor&)>> faults{
        [](auto& d) { d.nb_layers = 0; },
        [](auto& d) { d.nb_layers = AV_DRM_MAX_PLANES + 1; },
        [](auto& d) { d.layers[1].nb_planes = 2; },
        [](auto& d) { d.layers[0].planes[0].object_index = -1; },
        [](auto& d) { d.layers[0].planes[0].object_index = 2; },
    };
    for (const auto& spoil : faults) {
        auto spoilt = description;
        spoil(spoilt);
        EXPECT_TRUE(dmaBufPlanes(spoilt).empty());
    }
}

/// A frame of 4:2:0 whose row sizes differ from any pool's, filled with noise.
struct FrameMemory {
    std::vector<std::uint8_t> bytes = std::vector<std::uint8_t>(4096);
    const std::uint8_t* data[AV_NUM_DATA_POINTERS] = {bytes.data(), bytes.data() + 2048,
                                                      bytes.data() + 3072};
    int linesize[AV_NUM_DATA_POINTERS] = {37, 19, 23};

    FrameMemory() {
        std::minstd_rand random(3);
        for (auto& byte : bytes) {
            byte = static_cast<std::uint8_t>(random() >> 8);
        }
    }
};

TEST(FillData, copiesVisibleRowsOfAnySizeAndDirection) {
    const auto picture = makePixelBuffer(kCVPixelFormatType_420YpCbCr8Planar, 17, 9);
    FrameMemory frame;
    frame.data[0] += 8 * 37;
    frame.linesize[0] = -37;
    fillData(*picture, frame.data, frame.linesize);
    for (int plane = 0; plane < 3; ++plane) {
        for (int y = 0; y < picture->plane(plane).height; ++y) {
            for (int x = 0; x < picture->plane(plane).width; ++x) {
                ASSERT_EQ(at(*picture, plane, x, y),
                          frame.data[plane][y * frame.linesize[plane] + x]);
            }
        }
    }
}

TEST(FillData, refusesMissingPlanesAndShortRows) {
    const auto picture = makePixelBuffer(kCVPixelFormatType_420YpCbCr8Planar, 17, 9);
    const auto errorOf = [&](const FrameMemory& frame) {
        try {
            fillData(*picture, frame.data, frame.linesize);
        } catch (const DataMismatchError& error) {
            return error.errorCase();
        }
        ADD_FAILURE() << "nothing was thrown";
        return DataMismatchError::Case::unexpectedPixelBufferPlaneHeight;
    };
    FrameMemory withoutChroma;
    withoutChroma.data[1] = nullptr;
    EXPECT_EQ(errorOf(withoutChroma), DataMismatchError::Case::noFFmpegData);
    FrameMemory shortRows;
    shortRows.linesize[2] = 8;
    EXPECT_EQ(errorOf(shortRows), DataMismatchError::Case::mismatchedRowByteCount);
}

} // namespace
} // namespace zelvane::test

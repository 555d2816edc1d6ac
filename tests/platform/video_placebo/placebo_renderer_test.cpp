// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/video_placebo/placebo_renderer.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "core_media/four_char_code.h"
#include "tests/platform/reference.h"
#include "tests/platform/video_placebo/surfaceless_context.h"
#include "tests/support/pixel_buffers.h"

namespace zelvane {
namespace {

using test::Color;

constexpr int kSize = 32;

struct Space {
    const char* name;
    const test::PrintedMatrix& decode;
    const test::Matrix& to709;
    std::string_view matrix;
    std::string_view primaries;
    std::string_view transfer;
};

const Space kSpaces[] = {
    {"601-625", test::k601, test::kEBUTo709, kCVImageBufferYCbCrMatrix_ITU_R_601_4,
     kCVImageBufferColorPrimaries_EBU_3213, kCVImageBufferTransferFunction_ITU_R_709_2},
    {"601-525", test::k601, test::kSMPTECTo709, kCVImageBufferYCbCrMatrix_ITU_R_601_4,
     kCVImageBufferColorPrimaries_SMPTE_C, kCVImageBufferTransferFunction_ITU_R_709_2},
    {"709", test::k709, test::kKeep, kCVImageBufferYCbCrMatrix_ITU_R_709_2,
     kCVImageBufferColorPrimaries_ITU_R_709_2, kCVImageBufferTransferFunction_ITU_R_709_2},
    {"2020", test::k2020, test::k2020To709, kCVImageBufferYCbCrMatrix_ITU_R_2020,
     kCVImageBufferColorPrimaries_ITU_R_2020, kCVImageBufferTransferFunction_ITU_R_2020},
};

/// A picture of one colour: each plane repeats its block of bytes.
CVPixelBufferRef flatPicture(OSType format, const std::vector<std::vector<std::uint8_t>>& blocks) {
    auto picture = test::makePixelBuffer(format, kSize, kSize);
    for (int i = 0; i < picture->planeCount(); ++i) {
        const auto& plane = picture->plane(i);
        const auto& block = blocks.at(static_cast<std::size_t>(i));
        for (int y = 0; y < plane.height; ++y) {
            for (std::size_t x = 0; x < static_cast<std::size_t>(plane.width) * block.size(); ++x) {
                plane.baseAddress[y * plane.bytesPerRow + x] = block[x % block.size()];
            }
        }
    }
    return picture;
}

std::vector<std::uint8_t> words(const std::vector<double>& samples, int shift) {
    std::vector<std::uint8_t> bytes;
    for (const double sample : samples) {
        const auto word = static_cast<unsigned>(sample) << shift;
        bytes.push_back(static_cast<std::uint8_t>(word & 0xff));
        bytes.push_back(static_cast<std::uint8_t>(word >> 8));
    }
    return bytes;
}

/// The blocks of each plane for a YCbCr sample.
std::vector<std::vector<std::uint8_t>> blocksOf(OSType format, const Color& sample) {
    const auto y = static_cast<std::uint8_t>(sample[0]);
    const auto cb = static_cast<std::uint8_t>(sample[1]);
    const auto cr = static_cast<std::uint8_t>(sample[2]);
    switch (format) {
    case kCVPixelFormatType_420YpCbCr8Planar:
    case kCVPixelFormatType_420YpCbCr8PlanarFullRange:
        return {{y}, {cb}, {cr}};
    case kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange:
    case kCVPixelFormatType_420YpCbCr8BiPlanarFullRange:
        return {{y}, {cb, cr}};
    case kCVPixelFormatType_422YpCbCr8:
        return {{cb, y, cr, y}};
    case kCVPixelFormatType_422YpCbCr8_yuvs:
    case kCVPixelFormatType_422YpCbCr8FullRange:
        return {{y, cb, y, cr}};
    case kCVPixelFormatType_4444AYpCbCr16:
        return {words({65535, sample[0], sample[1], sample[2]}, 0)};
    default:
        return {words({sample[0]}, 6), words({sample[1], sample[2]}, 6)};
    }
}

void setColor(CVPixelBuffer& picture, const Space& space) {
    const auto set = [&](std::string_view key, std::string_view value) {
        picture.setAttachment(key, std::string(value));
    };
    set(kCVImageBufferYCbCrMatrixKey, space.matrix);
    set(kCVImageBufferColorPrimariesKey, space.primaries);
    set(kCVImageBufferTransferFunctionKey, space.transfer);
}

class PlaceboRendererTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_NE(context_.framebuffer(), 0U) << "no OpenGL in software here";
        renderer_ = PlaceboRenderer::create(PlaceboRenderer::SoftwareGL::allowed);
        ASSERT_NE(renderer_, nullptr);
    }

    PlaceboRenderer::Target target(const CGRect& place) const {
        return {context_.framebuffer(), kSize, kSize, false, place, 0, false};
    }

    /// The mean over the picture, which removes dithering.
    Color shown(const CVPixelBufferRef& picture) {
        EXPECT_TRUE(renderer_->draw(picture, target({0, 0, kSize, kSize})));
        const auto pixels = context_.pixels();
        Color mean{};
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            if (i % 4 < 3) {
                mean[i % 4] += pixels[i] / static_cast<double>(kSize * kSize);
            }
        }
        return mean;
    }

    test::SurfacelessContext context_{kSize, kSize};
    std::unique_ptr<PlaceboRenderer> renderer_;
};

void expectNear(const Color& shown, const Color& expected, double tolerance,
                const std::string& what) {
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(shown[i], expected[i], tolerance) << what << ", channel " << i;
    }
}

struct FormatCase {
    OSType format;
    int bits;
    bool isFullRange;
    double tolerance;
};

// libplacebo itself is nearly one code off for 8-bit full range.
const std::vector<FormatCase> kFormats{
    {kCVPixelFormatType_420YpCbCr8Planar, 8, false, 0.4},
    {kCVPixelFormatType_420YpCbCr8PlanarFullRange, 8, true, 1},
    {kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange, 8, false, 0.4},
    {kCVPixelFormatType_420YpCbCr8BiPlanarFullRange, 8, true, 1},
    {kCVPixelFormatType_422YpCbCr8, 8, false, 0.4},
    {kCVPixelFormatType_422YpCbCr8_yuvs, 8, false, 0.4},
    {kCVPixelFormatType_422YpCbCr8FullRange, 8, true, 1},
    {kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange, 10, false, 0.4},
    {kCVPixelFormatType_420YpCbCr10BiPlanarFullRange, 10, true, 0.6},
    {kCVPixelFormatType_4444AYpCbCr16, 16, false, 0.4},
};

/// Of eight bits; all within the gamut of each space here.
const std::vector<Color> kSamples{{16, 128, 128},  {20, 128, 128},  {235, 128, 128},
                                  {126, 128, 128}, {100, 110, 150}, {150, 150, 110},
                                  {90, 140, 120}};

TEST_F(PlaceboRendererTest, showsYCbCrOfEachFormatByTheStandards) {
    for (const auto& format : kFormats) {
        for (const auto& space : kSpaces) {
            for (const auto& eightBits : kSamples) {
                Color sample = eightBits;
                for (auto& value : sample) {
                    value *= std::exp2(format.bits - 8);
                }
                const auto picture = flatPicture(format.format, blocksOf(format.format, sample));
                setColor(*picture, space);
                const auto coded = test::normalised(sample, format.bits, format.isFullRange);
                const auto codes = test::shown(coded, space.decode, space.to709, test::screen1886,
                                               test::screen1886Code);
                expectNear(shown(picture), {255 * codes[0], 255 * codes[1], 255 * codes[2]},
                           format.tolerance,
                           fmt::format("{} {} Y'={}", fourCharCodeText(format.format), space.name,
                                       eightBits[0]));
            }
        }
    }
}

TEST_F(PlaceboRendererTest, showsRGBOfEachOrderUnchanged) {
    const std::vector<std::pair<OSType, std::vector<std::uint8_t>>> orders{
        {kCVPixelFormatType_24RGB, {200, 100, 50}},
        {kCVPixelFormatType_32ARGB, {255, 200, 100, 50}},
        {kCVPixelFormatType_32BGRA, {50, 100, 200, 255}}};
    for (const auto& [format, block] : orders) {
        const auto picture = flatPicture(format, {block});
        picture->setAttachment(kCVImageBufferColorPrimariesKey,
                               std::string(kCVImageBufferColorPrimaries_ITU_R_709_2));
        picture->setAttachment(kCVImageBufferTransferFunctionKey,
                               std::string(kCVImageBufferTransferFunction_sRGB));
        expectNear(shown(picture), {200, 100, 50}, 0.5, fourCharCodeText(format));
    }
}

TEST_F(PlaceboRendererTest, aPictureThatCannotBeShownIsBlack) {
    const auto white = flatPicture(kCVPixelFormatType_32BGRA, {{255, 255, 255, 255}});
    EXPECT_GT(shown(white)[0], 250);
    const auto unknown = flatPicture(kCVPixelFormatType_64ARGB, {{255, 255, 255, 255, 1, 2, 3, 4}});
    EXPECT_FALSE(renderer_->draw(unknown, target({0, 0, kSize, kSize})));
    EXPECT_EQ(context_.pixels()[0], 0);
}

TEST_F(PlaceboRendererTest, theAreaAroundThePictureIsBlackAndOpaque) {
    const auto white = flatPicture(kCVPixelFormatType_32BGRA, {{255, 255, 255, 255}});
    ASSERT_TRUE(renderer_->draw(white, target({0, 8, kSize, 16})));
    const auto pixels = context_.pixels();
    const auto at = [&](int x, int y) {
        const auto* pixel = &pixels[static_cast<std::size_t>(y * kSize + x) * 4];
        return std::array<int, 4>{pixel[0], pixel[1], pixel[2], pixel[3]};
    };
    EXPECT_EQ(at(3, 7), (std::array<int, 4>{0, 0, 0, 255}));
    EXPECT_EQ(at(3, 8), (std::array<int, 4>{255, 255, 255, 255}));
    EXPECT_EQ(at(3, 23), (std::array<int, 4>{255, 255, 255, 255}));
    EXPECT_EQ(at(3, 24), (std::array<int, 4>{0, 0, 0, 255}));
}

TEST_F(PlaceboRendererTest, refusesASoftwareRendererUnlessAllowed) {
    renderer_.reset();
    EXPECT_EQ(PlaceboRenderer::create(PlaceboRenderer::SoftwareGL::refused), nullptr);
}

} // namespace
} // namespace zelvane

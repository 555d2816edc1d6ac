// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/video_placebo/placebo_renderer.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "core_media/four_char_code.h"
#include "tests/platform/video_placebo/surfaceless_context.h"
#include "tests/support/pixel_buffers.h"

namespace zelvane {
namespace {

using Color = std::array<double, 3>;
using Matrix = std::array<Color, 3>;

constexpr int kSize = 32;

// The mathematics, written from the standards and not from any library.

Color times(const Matrix& matrix, const Color& color) {
    Color result{};
    for (std::size_t row = 0; row < 3; ++row) {
        result[row] = std::inner_product(color.begin(), color.end(), matrix[row].begin(), 0.0);
    }
    return result;
}

/// From linear light of the primaries to that of BT.709. From the chromaticities of BT.2020 (also
/// in BT.2087), EBU Tech. 3213 and SMPTE RP 145, all with the white of D65.
const Matrix kFrom2020{
    {{1.66049, -0.58764, -0.07285}, {-0.12455, 1.13290, -0.00835}, {-0.01815, -0.10058, 1.11873}}};
const Matrix kFromEBU{{{1.04404, -0.04404, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.01179, 0.98821}}};
const Matrix kFromSMPTEC{
    {{0.93954, 0.05018, 0.01028}, {0.01777, 0.96579, 0.01643}, {-0.00162, -0.00437, 1.00599}}};
const Matrix kFrom709{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};

/// Light of a display after BT.1886 with a contrast of 1000:1.
double displayLight(double signal) {
    const double white = 1;
    const double black = std::pow(0.001, 1 / 2.4);
    const double gain = std::pow(white - black, 2.4);
    const double lift = black / (white - black);
    return gain * std::pow(std::max(signal + lift, 0.0), 2.4);
}

/// The inverse of IEC 61966-2-1 on a screen of the same contrast.
double srgbCode(double light) {
    const double linear = std::clamp((light - 0.001) / 0.999, 0.0, 1.0);
    return linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
}

struct YCbCrSpace {
    const char* name;
    double redWeight;
    double blueWeight;
    Matrix to709;
    std::string_view matrix;
    std::string_view primaries;
    std::string_view transfer;
};

const YCbCrSpace kEBU601{"601-625",
                         0.299,
                         0.114,
                         kFromEBU,
                         kCVImageBufferYCbCrMatrix_ITU_R_601_4,
                         kCVImageBufferColorPrimaries_EBU_3213,
                         kCVImageBufferTransferFunction_ITU_R_709_2};
const YCbCrSpace kSMPTE601{"601-525",
                           0.299,
                           0.114,
                           kFromSMPTEC,
                           kCVImageBufferYCbCrMatrix_ITU_R_601_4,
                           kCVImageBufferColorPrimaries_SMPTE_C,
                           kCVImageBufferTransferFunction_ITU_R_709_2};
const YCbCrSpace k709{"709",
                      0.2126,
                      0.0722,
                      kFrom709,
                      kCVImageBufferYCbCrMatrix_ITU_R_709_2,
                      kCVImageBufferColorPrimaries_ITU_R_709_2,
                      kCVImageBufferTransferFunction_ITU_R_709_2};
const YCbCrSpace k2020{"2020",
                       0.2627,
                       0.0593,
                       kFrom2020,
                       kCVImageBufferYCbCrMatrix_ITU_R_2020,
                       kCVImageBufferColorPrimaries_ITU_R_2020,
                       kCVImageBufferTransferFunction_ITU_R_2020};

/// Code values of a sample of `bits` bits, as R'G'B' of 0 to 1.
Color decoded(const Color& sample, const YCbCrSpace& space, int bits, bool isFullRange) {
    const double unit = std::exp2(bits - 8);
    const double top = std::exp2(bits) - 1;
    const double luma = isFullRange ? sample[0] / top : (sample[0] - 16 * unit) / (219 * unit);
    const double chromaSpan = isFullRange ? top : 224 * unit;
    const double cb = (sample[1] - 128 * unit) / chromaSpan;
    const double cr = (sample[2] - 128 * unit) / chromaSpan;
    const double greenWeight = 1 - space.redWeight - space.blueWeight;
    const double red = luma + 2 * (1 - space.redWeight) * cr;
    const double blue = luma + 2 * (1 - space.blueWeight) * cb;
    return {red, (luma - space.redWeight * red - space.blueWeight * blue) / greenWeight, blue};
}

/// What an sRGB screen is sent for it, of 0 to 255.
Color expectedCodes(const Color& signal, const Matrix& to709) {
    Color light{};
    std::transform(signal.begin(), signal.end(), light.begin(), displayLight);
    Color codes = times(to709, light);
    for (auto& code : codes) {
        code = srgbCode(code) * 255;
    }
    return codes;
}

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

void setColor(CVPixelBuffer& picture, const YCbCrSpace& space) {
    const auto set = [&](std::string_view key, std::string_view value) {
        picture.setAttachment(key, std::string(value), CVAttachmentMode::shouldPropagate);
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

    /// The mean over the picture, so that dithering plays no part.
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

// Eight bits of full range are nearly one value off in the library itself.
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
const std::vector<Color> kSamples{{16, 128, 128},  {235, 128, 128}, {126, 128, 128},
                                  {100, 110, 150}, {150, 150, 110}, {90, 140, 120}};

TEST_F(PlaceboRendererTest, yCbCrOfEachFormatIsShownAsTheStandardsSay) {
    for (const auto& format : kFormats) {
        for (const auto& space : {kEBU601, kSMPTE601, k709, k2020}) {
            for (const auto& eightBits : kSamples) {
                Color sample = eightBits;
                for (auto& value : sample) {
                    value *= std::exp2(format.bits - 8);
                }
                const auto picture = flatPicture(format.format, blocksOf(format.format, sample));
                setColor(*picture, space);
                const Color signal = decoded(sample, space, format.bits, format.isFullRange);
                expectNear(shown(picture), expectedCodes(signal, space.to709), format.tolerance,
                           fmt::format("{} {} Y'={}", fourCharCodeText(format.format), space.name,
                                       eightBits[0]));
            }
        }
    }
}

TEST_F(PlaceboRendererTest, rgbOfEachOrderIsShownAsItIs) {
    const std::vector<std::pair<OSType, std::vector<std::uint8_t>>> orders{
        {kCVPixelFormatType_24RGB, {200, 100, 50}},
        {kCVPixelFormatType_32ARGB, {255, 200, 100, 50}},
        {kCVPixelFormatType_32BGRA, {50, 100, 200, 255}}};
    for (const auto& [format, block] : orders) {
        const auto picture = flatPicture(format, {block});
        picture->setAttachment(kCVImageBufferColorPrimariesKey,
                               std::string(kCVImageBufferColorPrimaries_ITU_R_709_2),
                               CVAttachmentMode::shouldPropagate);
        picture->setAttachment(kCVImageBufferTransferFunctionKey,
                               std::string(kCVImageBufferTransferFunction_sRGB),
                               CVAttachmentMode::shouldPropagate);
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

TEST_F(PlaceboRendererTest, whatThePictureLeavesFreeIsBlackAndOpaque) {
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

TEST_F(PlaceboRendererTest, aContextDrawnBySoftwareIsRefusedUnlessAllowed) {
    renderer_.reset();
    EXPECT_EQ(PlaceboRenderer::create(PlaceboRenderer::SoftwareGL::refused), nullptr);
}

} // namespace
} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/video_raster/raster_converter.h"

#include <memory>
#include <random>

#include <gtest/gtest.h>

#include "platform/video_raster/source_color.h"
#include "tests/platform/matrix_cases.h"
#include "tests/platform/reference.h"
#include "tests/support/case_name.h"

namespace zelvane {
namespace {

using namespace test;

/// The largest permitted error in code values.
constexpr double kTolerance = 1.5;

struct Coding {
    OSType format;
    int bits;
    bool isFullRange;
    /// Luma samples for a chroma sample.
    int across;
    int down;
};

constexpr Coding kY420{kCVPixelFormatType_420YpCbCr8Planar, 8, false, 2, 2};
constexpr Coding kF420{kCVPixelFormatType_420YpCbCr8PlanarFullRange, 8, true, 2, 2};
constexpr Coding k420v{kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange, 8, false, 2, 2};
constexpr Coding k420f{kCVPixelFormatType_420YpCbCr8BiPlanarFullRange, 8, true, 2, 2};
constexpr Coding kX420{kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange, 10, false, 2, 2};
constexpr Coding kXF20{kCVPixelFormatType_420YpCbCr10BiPlanarFullRange, 10, true, 2, 2};
constexpr Coding k2vuy{kCVPixelFormatType_422YpCbCr8, 8, false, 2, 1};
constexpr Coding kYuvs{kCVPixelFormatType_422YpCbCr8_yuvs, 8, false, 2, 1};
constexpr Coding kYuvf{kCVPixelFormatType_422YpCbCr8FullRange, 8, true, 2, 1};
constexpr Coding kY416{kCVPixelFormatType_4444AYpCbCr16, 16, false, 1, 1};

/// The address of a sample in any format.
std::uint8_t* sampleAddress(const CVPixelBuffer& picture, const Coding& coding, int channel, int x,
                            int y) {
    const auto at = [&](int plane, int offset) {
        return picture.plane(plane).baseAddress +
               picture.plane(plane).bytesPerRow * static_cast<std::size_t>(y) + offset;
    };
    switch (coding.format) {
    case kCVPixelFormatType_420YpCbCr8Planar:
    case kCVPixelFormatType_420YpCbCr8PlanarFullRange:
        return at(channel, x);
    case kCVPixelFormatType_422YpCbCr8:
        return at(0, channel == 0 ? 2 * x + 1 : 4 * x + 2 * (channel - 1));
    case kCVPixelFormatType_422YpCbCr8_yuvs:
    case kCVPixelFormatType_422YpCbCr8FullRange:
        return at(0, channel == 0 ? 2 * x : 4 * x + 2 * channel - 1);
    case kCVPixelFormatType_4444AYpCbCr16:
        return at(0, 8 * x + 2 + 2 * channel);
    default: {
        const int bytes = coding.bits > 8 ? 2 : 1;
        return channel == 0 ? at(0, bytes * x) : at(1, bytes * (2 * x + channel - 1));
    }
    }
}

void writeSample(std::uint8_t* address, const Coding& coding, int value) {
    const int stored = coding.bits == 10 ? value << 6 : value;
    address[0] = static_cast<std::uint8_t>(stored);
    if (coding.bits > 8) {
        address[1] = static_cast<std::uint8_t>(stored >> 8);
    }
}

/// A picture and its samples as numbers.
class Picture {
  public:
    Picture(const Coding& coding, int width, int height)
        : coding_(coding), width_(width), height_(height),
          buffer_(makePixelBuffer(coding.format, width, height)) {
        for (int channel = 0; channel < 3; ++channel) {
            values_[channel].resize(index(channel, 0, heightOf(channel)));
        }
    }

    /// Every sample from `value(channel)`.
    void fill(const std::function<int(int)>& value) {
        for (int channel = 0; channel < 3; ++channel) {
            for (int y = 0; y < heightOf(channel); ++y) {
                for (int x = 0; x < widthOf(channel); ++x) {
                    const int sample = value(channel);
                    at(channel, x, y) = sample;
                    writeSample(sampleAddress(*buffer_, coding_, channel, x, y), coding_, sample);
                }
            }
        }
    }

    /// Normalised, with chroma sited at the left and between the rows.
    Color colorAt(int x, int y) const {
        const auto chroma = [&](int channel) {
            return sampled(channel, static_cast<double>(x) / coding_.across,
                           (y + 0.5) / coding_.down - 0.5);
        };
        return normalised({double(at(0, x, y)), chroma(1), chroma(2)}, coding_.bits,
                          coding_.isFullRange);
    }

    CVPixelBuffer& buffer() const { return *buffer_; }
    int width() const { return width_; }
    int height() const { return height_; }

  private:
    int widthOf(int channel) const {
        return channel == 0 ? width_ : (width_ + coding_.across - 1) / coding_.across;
    }
    int heightOf(int channel) const {
        return channel == 0 ? height_ : (height_ + coding_.down - 1) / coding_.down;
    }
    std::size_t index(int channel, int x, int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(widthOf(channel)) +
               static_cast<std::size_t>(x);
    }
    int& at(int channel, int x, int y) { return values_[channel][index(channel, x, y)]; }
    int at(int channel, int x, int y) const {
        const int column = std::clamp(x, 0, widthOf(channel) - 1);
        const int row = std::clamp(y, 0, heightOf(channel) - 1);
        return values_[channel][index(channel, column, row)];
    }
    double sampled(int channel, double x, double y) const {
        const int left = static_cast<int>(std::floor(x));
        const int top = static_cast<int>(std::floor(y));
        const double right = x - left;
        const double bottom = y - top;
        return (1 - bottom) *
                   ((1 - right) * at(channel, left, top) + right * at(channel, left + 1, top)) +
               bottom * ((1 - right) * at(channel, left, top + 1) +
                         right * at(channel, left + 1, top + 1));
    }

    Coding coding_;
    int width_;
    int height_;
    CVPixelBufferRef buffer_;
    std::vector<int> values_[3];
};

void setColor(CVPixelBuffer& picture, std::string_view primaries, std::string_view transfer,
              std::string_view matrix) {
    picture.setAttachment(kCVImageBufferColorPrimariesKey, std::string(primaries));
    picture.setAttachment(kCVImageBufferTransferFunctionKey, std::string(transfer));
    if (!matrix.empty()) {
        picture.setAttachment(kCVImageBufferYCbCrMatrixKey, std::string(matrix));
    }
}

/// The pixels of a converted picture. Padding after each row must stay unchanged.
class Pixels {
  public:
    explicit Pixels(const CVPixelBuffer& picture, DisplayColor display = {})
        : bytesPerRow_(static_cast<std::size_t>(picture.width()) * 4 + 12),
          bytes_(bytesPerRow_ * static_cast<std::size_t>(picture.height()), kPadding) {
        RasterConverter(std::move(display)).convert(picture, bytes_, bytesPerRow_);
        for (std::size_t end = bytesPerRow_; end <= bytes_.size(); end += bytesPerRow_) {
            for (std::size_t i = end - 12; i < end; ++i) {
                EXPECT_EQ(bytes_[i], kPadding);
            }
        }
    }
    /// R, G, B as 0…255.
    Color at(int x, int y) const {
        const auto* pixel = bytes_.data() + bytesPerRow_ * static_cast<std::size_t>(y) + 4 * x;
        EXPECT_EQ(pixel[3], 255);
        return {double(pixel[2]), double(pixel[1]), double(pixel[0])};
    }

  private:
    static constexpr std::uint8_t kPadding = 0xa5;
    std::size_t bytesPerRow_;
    std::vector<std::uint8_t> bytes_;
};

double distance(const Color& pixel, const Color& expected) {
    double worst = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        worst = std::max(worst, std::abs(pixel[i] - 255 * expected[i]));
    }
    return worst;
}

/// The largest error over all pixels against `expected(Y'CBCR)`.
double worstError(const Picture& picture, const std::function<Color(const Color&)>& expected,
                  const DisplayColor& display = {}) {
    const Pixels pixels(picture.buffer(), display);
    double worst = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            worst = std::max(worst, distance(pixels.at(x, y), expected(picture.colorAt(x, y))));
        }
    }
    return worst;
}

/// Noise over all codes, and every grey.
double worstErrorOver(const Coding& coding, const std::function<void(CVPixelBuffer&)>& tag,
                      const std::function<Color(const Color&)>& expected,
                      const DisplayColor& display = {}) {
    std::mt19937 random(7);
    std::uniform_int_distribution<int> codes(0, (1 << coding.bits) - 1);
    Picture noise(coding, 613, 37);
    noise.fill([&](int) { return codes(random); });
    tag(noise.buffer());
    Picture greys(coding, 256, 8);
    int next = 0;
    const int middle = 1 << (coding.bits - 1);
    const int step = std::max(1, (1 << coding.bits) / (256 * 8));
    greys.fill(
        [&](int channel) { return channel == 0 ? (next += step) % (1 << coding.bits) : middle; });
    tag(greys.buffer());
    return std::max(worstError(noise, expected, display), worstError(greys, expected, display));
}

struct SDRCase {
    const char* name;
    Coding coding;
    std::string_view primaries;
    std::string_view matrix;
    const PrintedMatrix& decodeMatrix;
    const Matrix& toSRGB;
};

class RasterConverterSDR : public testing::TestWithParam<SDRCase> {};

TEST_P(RasterConverterSDR, keepsItsCurveAndConvertsPrimariesInLight) {
    const auto& param = GetParam();
    const double worst = worstErrorOver(
        param.coding,
        [&](CVPixelBuffer& picture) {
            setColor(picture, param.primaries, kCVImageBufferTransferFunction_ITU_R_709_2,
                     param.matrix);
        },
        [&](const Color& coded) {
            return shown(coded, param.decodeMatrix, param.toSRGB, screen1886, screen1886Code);
        });
    EXPECT_LE(worst, &param.toSRGB == &kKeep ? 0.51 : 1);
}

constexpr auto k709Primaries = kCVImageBufferColorPrimaries_ITU_R_709_2;
constexpr auto k709Name = kCVImageBufferYCbCrMatrix_ITU_R_709_2;
constexpr auto k601Name = kCVImageBufferYCbCrMatrix_ITU_R_601_4;
constexpr auto k2020Name = kCVImageBufferYCbCrMatrix_ITU_R_2020;

INSTANTIATE_TEST_SUITE_P(
    Pictures, RasterConverterSDR,
    testing::Values(SDRCase{"y420_709", kY420, k709Primaries, k709Name, k709, kKeep},
                    SDRCase{"f420_709", kF420, k709Primaries, k709Name, k709, kKeep},
                    SDRCase{"f420_601", kF420, k709Primaries, k601Name, k601, kKeep},
                    SDRCase{"nv12_709", k420v, k709Primaries, k709Name, k709, kKeep},
                    SDRCase{"nv12_full", k420f, k709Primaries, k709Name, k709, kKeep},
                    SDRCase{"x420_709", kX420, k709Primaries, k709Name, k709, kKeep},
                    SDRCase{"xf20_709", kXF20, k709Primaries, k709Name, k709, kKeep},
                    SDRCase{"uyvy_601", k2vuy, k709Primaries, k601Name, k601, kKeep},
                    SDRCase{"yuyv_601", kYuvs, k709Primaries, k601Name, k601, kKeep},
                    SDRCase{"yuyv_full", kYuvf, k709Primaries, k709Name, k709, kKeep},
                    SDRCase{"ayuv_709", kY416, k709Primaries, k709Name, k709, kKeep},
                    SDRCase{"y420_525_lines", kY420, kCVImageBufferColorPrimaries_SMPTE_C, k601Name,
                            k601, kSMPTECTo709},
                    SDRCase{"y420_625_lines", kY420, kCVImageBufferColorPrimaries_EBU_3213,
                            k601Name, k601, kEBUTo709},
                    SDRCase{"x420_2020", kX420, kCVImageBufferColorPrimaries_ITU_R_2020, k2020Name,
                            k2020, k2020To709},
                    SDRCase{"y420_P3", kY420, kCVImageBufferColorPrimaries_P3_D65, k709Name, k709,
                            kP3To709}),
    test::caseName);

TEST(RasterConverter, passesSRGBCodesUnchanged) {
    const Coding bgra{kCVPixelFormatType_32BGRA, 8, true, 1, 1};
    const auto picture = makePixelBuffer(bgra.format, 256, 1);
    for (int x = 0; x < 256; ++x) {
        auto* pixel = picture->plane(0).baseAddress + 4 * x;
        pixel[0] = static_cast<std::uint8_t>(x);
        pixel[1] = static_cast<std::uint8_t>(255 - x);
        pixel[2] = static_cast<std::uint8_t>(x ^ 0x55);
        pixel[3] = 7;
    }
    setColor(*picture, k709Primaries, kCVImageBufferTransferFunction_sRGB, "");
    const Pixels pixels(*picture);
    for (int x = 0; x < 256; ++x) {
        EXPECT_EQ(pixels.at(x, 0), (Color{double(x ^ 0x55), double(255 - x), double(x)}));
    }
}

TEST(RasterConverter, rgbLayoutsAreReadInTheirOwnOrder) {
    const std::pair<OSType, std::vector<std::uint8_t>> layouts[] = {
        {kCVPixelFormatType_24RGB, {10, 20, 30}},
        {kCVPixelFormatType_32ARGB, {0, 10, 20, 30}},
        {kCVPixelFormatType_32BGRA, {30, 20, 10, 0}},
        {kCVPixelFormatType_64ARGB, {0, 0, 10, 10, 20, 20, 30, 30}},
    };
    for (const auto& [format, bytes] : layouts) {
        const auto picture = makePixelBuffer(format, 1, 1);
        std::copy(bytes.begin(), bytes.end(), picture->plane(0).baseAddress);
        setColor(*picture, k709Primaries, kCVImageBufferTransferFunction_sRGB, "");
        EXPECT_EQ(Pixels(*picture).at(0, 0), (Color{10, 20, 30})) << std::hex << format;
    }
}

TEST(RasterConverter, otherCurvesAreKeptForSDRAndElseReplacedByThatOfTheScreen) {
    const auto power = [](double gamma) {
        return [gamma](double value) { return std::pow(value, gamma); };
    };
    struct Row {
        std::string_view transfer;
        std::function<double(double)> light;
        std::function<double(double)> code;
        double tolerance;
    };
    const Row rows[] = {
        {kCVImageBufferTransferFunction_sRGB, decodeSRGB, encodeSRGB, kTolerance},
        // The last digit of the matrix is this much at black, where a power is steep.
        {kCVImageBufferTransferFunction_UseGamma, power(2.8), power(1 / 2.8), 2.5},
        {kCVImageBufferTransferFunction_SMPTE_ST_428_1,
         [](double code) { return std::min(52.37 / 48 * std::pow(code, 2.6), 1.0); }, encodeSRGB,
         kTolerance},
        {kCVImageBufferTransferFunction_Linear, power(1), encodeSRGB, kTolerance},
    };
    for (const auto& row : rows) {
        const double worst = worstErrorOver(
            kX420,
            [&](CVPixelBuffer& picture) {
                setColor(picture, kCVImageBufferColorPrimaries_ITU_R_2020, row.transfer, k2020Name);
                picture.setAttachment(kCVImageBufferGammaLevelKey, 2.8);
            },
            [&](const Color& coded) {
                return shown(coded, k2020, k2020To709, row.light, row.code);
            });
        EXPECT_LE(worst, row.tolerance) << row.transfer;
    }
}

/// MaxCLL and the mastering screen's maximum in cd/m²; 0 for none.
void setLight(CVPixelBuffer& picture, unsigned maxCLL, unsigned masteringMaximum) {
    if (maxCLL > 0) {
        picture.setAttachment(kCVImageBufferContentLightLevelInfoKey,
                              std::vector<std::uint8_t>{static_cast<std::uint8_t>(maxCLL >> 8),
                                                        static_cast<std::uint8_t>(maxCLL), 0, 0});
    }
    if (masteringMaximum > 0) {
        std::vector<std::uint8_t> volume(24);
        for (unsigned i = 0; i < 4; ++i) {
            volume[16 + i] = static_cast<std::uint8_t>(masteringMaximum * 10000 >> (24 - 8 * i));
        }
        picture.setAttachment(kCVImageBufferMasteringDisplayColorVolumeKey, volume);
    }
}

TEST(RasterConverter, pqIsToneMappedFromThePeakThatItStates) {
    struct Light {
        unsigned maxCLL;
        unsigned masteringMaximum;
        double peak;
    };
    for (const auto& light : {Light{0, 0, 1000}, Light{0, 4000, 4000}, Light{600, 4000, 600},
                              Light{5000, 1000, 1000}, Light{100, 0, 203}}) {
        const double worst = worstErrorOver(
            kX420,
            [&](CVPixelBuffer& picture) {
                setColor(picture, kCVImageBufferColorPrimaries_ITU_R_2020,
                         kCVImageBufferTransferFunction_SMPTE_ST_2084_PQ, k2020Name);
                setLight(picture, light.maxCLL, light.masteringMaximum);
            },
            [&](const Color& coded) {
                return shown(
                    coded, k2020, k2020To709,
                    [&](double code) { return toneMapped(pqLight(code), light.peak); }, encodeSRGB);
            });
        EXPECT_LE(worst, kTolerance) << light.maxCLL << " " << light.masteringMaximum;
    }
}

TEST(RasterConverter, hlgIsToneMappedFromAScreenOf1000) {
    const double worst = worstErrorOver(
        kX420,
        [&](CVPixelBuffer& picture) {
            setColor(picture, kCVImageBufferColorPrimaries_ITU_R_2020,
                     kCVImageBufferTransferFunction_ITU_R_2100_HLG, k2020Name);
        },
        [&](const Color& coded) {
            auto color = decode(k2020, coded[0], coded[1], coded[2]);
            for (auto& channel : color) {
                channel = hlgScene(clip(channel));
            }
            const double luminance = 0.2627 * color[0] + 0.6780 * color[1] + 0.0593 * color[2];
            for (auto& channel : color) {
                channel = toneMapped(1000 * std::pow(luminance, 0.2) * channel, 1000);
            }
            color = multiply(k2020To709, color);
            for (auto& channel : color) {
                channel = encodeSRGB(channel);
            }
            return color;
        });
    EXPECT_LE(worst, kTolerance);
}

TEST(RasterConverter, usesTheCommonMatrix) {
    for (const auto& test : kMatrixCases) {
        EXPECT_EQ(raster::sourceColorOf(*pictureOf(test)).luma, lumaWeights(test.expected))
            << test.primaries << " " << test.width;
    }
}

TEST(RasterConverter, refusesUnknownFormatsAndSmallTargets) {
    const auto picture = makePixelBuffer(kCVPixelFormatType_32BGRA, 4, 4);
    std::vector<std::uint8_t> target(4 * 4 * 4);
    RasterConverter converter;
    EXPECT_THROW(converter.convert(*picture, target, 15), RasterConversionError);
    EXPECT_THROW(converter.convert(*picture, std::span(target).first(63), 16),
                 RasterConversionError);
    EXPECT_NO_THROW(converter.convert(*picture, target, 16));
    CVPixelBuffer::Geometry geometry{fourCharCode("v210"), 4, 4, 1, {}};
    geometry.planes[0] = {target.data(), 16, 4, 4};
    EXPECT_THROW(converter.convert(*CVPixelBuffer::overMemory(geometry, nullptr), target, 16),
                 RasterConversionError);
}

TEST(RasterConverter, severalThreadsGiveTheResultOfOne) {
    std::mt19937 random(5);
    for (const auto& coding : {kY420, kX420, k2vuy}) {
        Picture picture(coding, 1001, 301);
        picture.fill([&](int) { return static_cast<int>(random() % (1U << coding.bits)); });
        for (const auto transfer : {kCVImageBufferTransferFunction_ITU_R_709_2,
                                    kCVImageBufferTransferFunction_ITU_R_2100_HLG}) {
            setColor(picture.buffer(), kCVImageBufferColorPrimaries_P3_D65, transfer, k709Name);
            std::vector<std::uint8_t> alone(1001 * 4 * 301);
            auto together = alone;
            RasterConverter({}, 1).convert(picture.buffer(), alone, 1001 * 4);
            RasterConverter shared({}, 4);
            for (int i = 0; i < 5; ++i) {
                std::fill(together.begin(), together.end(), std::uint8_t{0});
                shared.convert(picture.buffer(), together, 1001 * 4);
                EXPECT_EQ(together, alone);
            }
        }
    }
}

TEST(RasterConverter, followsAChangeOfColorBetweenPictures) {
    Picture picture(kY420, 4, 2);
    const int sample[] = {120, 90, 200};
    picture.fill([&](int channel) { return sample[channel]; });
    RasterConverter converter;
    std::vector<std::uint8_t> target(4 * 4 * 2);
    std::vector<std::vector<std::uint8_t>> results;
    for (const auto matrix : {k709Name, k601Name, k709Name}) {
        setColor(picture.buffer(), k709Primaries, kCVImageBufferTransferFunction_ITU_R_709_2,
                 matrix);
        converter.convert(picture.buffer(), target, 16);
        results.push_back(target);
    }
    EXPECT_NE(results[0], results[1]);
    EXPECT_EQ(results[0], results[2]);
}

} // namespace
} // namespace zelvane

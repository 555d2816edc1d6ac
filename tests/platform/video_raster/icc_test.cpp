// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <cmath>
#include <memory>
#include <optional>
#include <random>
#include <vector>

#include <gtest/gtest.h>
#include <lcms2.h>

#include "platform/video_raster/raster_converter.h"
#include "tests/platform/reference.h"

namespace zelvane {
namespace {

using Bytes = std::vector<std::uint8_t>;

struct CloseProfile {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};
using Profile = std::unique_ptr<void, CloseProfile>;
struct DeleteTransform {
    void operator()(void* transform) const { cmsDeleteTransform(transform); }
};
struct FreePipeline {
    void operator()(cmsPipeline* pipeline) const { cmsPipelineFree(pipeline); }
};

Bytes bytesOf(cmsHPROFILE profile) {
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile, nullptr, &size);
    Bytes bytes(size);
    EXPECT_TRUE(cmsSaveProfileToMem(profile, bytes.data(), &size));
    return bytes;
}

/// P3 primaries with a gamma, which may differ for blue.
Profile shaperProfile(double gamma, std::optional<double> blueGamma = std::nullopt) {
    const cmsCIExyY white{0.3127, 0.3290, 1};
    const cmsCIExyYTRIPLE p3{{0.680, 0.320, 1}, {0.265, 0.690, 1}, {0.150, 0.060, 1}};
    cmsToneCurve* curve = cmsBuildGamma(nullptr, gamma);
    cmsToneCurve* blue = cmsBuildGamma(nullptr, blueGamma.value_or(gamma));
    cmsToneCurve* const curves[3] = {curve, curve, blue};
    Profile profile(cmsCreateRGBProfile(&white, &p3, curves));
    cmsFreeToneCurve(curve);
    cmsFreeToneCurve(blue);
    return profile;
}

/// The same device, described by tables instead of curves and a matrix.
Profile tableProfile(cmsHPROFILE like) {
    Profile made(cmsCreateProfilePlaceholder(nullptr));
    cmsSetDeviceClass(made.get(), cmsSigDisplayClass);
    cmsSetColorSpace(made.get(), cmsSigRgbData);
    cmsSetPCS(made.get(), cmsSigLabData);
    cmsSetProfileVersion(made.get(), 4.3);
    const Profile lab(cmsCreateLab4Profile(nullptr));
    const auto addTable = [&](cmsHPROFILE from, cmsUInt32Number fromType, cmsHPROFILE to,
                              cmsUInt32Number toType, cmsTagSignature tag) {
        const std::unique_ptr<void, DeleteTransform> transform(
            cmsCreateTransform(from, fromType, to, toType, INTENT_RELATIVE_COLORIMETRIC,
                               cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE));
        const std::unique_ptr<cmsPipeline, FreePipeline> pipeline(cmsPipelineAlloc(nullptr, 3, 3));
        cmsStage* table = cmsStageAllocCLut16bit(nullptr, 49, 3, 3, nullptr);
        cmsStageSampleCLut16bit(
            table,
            [](const cmsUInt16Number in[], cmsUInt16Number out[], void* cargo) -> cmsInt32Number {
                cmsDoTransform(cargo, in, out, 1);
                return TRUE;
            },
            transform.get(), 0);
        const auto append = [&](cmsStage* stage) {
            cmsPipelineInsertStage(pipeline.get(), cmsAT_END, stage);
        };
        append(cmsStageAllocToneCurves(nullptr, 3, nullptr));
        append(table);
        append(cmsStageAllocToneCurves(nullptr, 3, nullptr));
        EXPECT_TRUE(cmsWriteTag(made.get(), tag, pipeline.get()));
    };
    addTable(like, TYPE_RGB_16, lab.get(), TYPE_Lab_16, cmsSigAToB0Tag);
    addTable(lab.get(), TYPE_Lab_16, like, TYPE_RGB_16, cmsSigBToA0Tag);
    cmsWriteTag(made.get(), cmsSigMediaWhitePointTag, cmsD50_XYZ());
    return made;
}

/// A picture of one row: greys, then random colours.
class Row {
  public:
    static constexpr int kWidth = 2048;

    Row() {
        std::mt19937 random(3);
        for (int x = 0; x < kWidth; ++x) {
            for (int channel = 0; channel < 4; ++channel) {
                pixels_->push_back(
                    static_cast<std::uint8_t>(x < 256 ? x : static_cast<int>(random() % 256)));
            }
        }
        CVPixelBuffer::Geometry geometry{kCVPixelFormatType_32BGRA, kWidth, 1, 1, {}};
        geometry.planes[0] = {pixels_->data(), pixels_->size(), kWidth, 1};
        picture_ = CVPixelBuffer::overMemory(geometry, pixels_);
    }
    void setProfile(Bytes profile) {
        picture_->setAttachment(kCVImageBufferICCProfileKey, std::move(profile));
    }
    void setSRGB(std::string_view transfer = kCVImageBufferTransferFunction_sRGB) {
        picture_->setAttachment(kCVImageBufferColorPrimariesKey,
                                std::string(kCVImageBufferColorPrimaries_ITU_R_709_2));
        picture_->setAttachment(kCVImageBufferTransferFunctionKey, std::string(transfer));
    }
    Bytes shownOn(const Bytes& display) const {
        Bytes target(kWidth * 4);
        RasterConverter(DisplayColor{display}).convert(*picture_, target, target.size());
        return target;
    }
    /// The result of lcms in floating point.
    std::vector<double> expected(cmsHPROFILE from, cmsHPROFILE to) const {
        const std::unique_ptr<void, DeleteTransform> transform(
            cmsCreateTransform(from, TYPE_BGR_DBL, to, TYPE_BGR_DBL, INTENT_RELATIVE_COLORIMETRIC,
                               cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE));
        std::vector<double> codes;
        for (std::size_t at = 0; at < 4 * kWidth; at += 4) {
            double color[3];
            for (std::size_t i = 0; i < 3; ++i) {
                color[i] = pixels_->at(at + i) / 255.0;
            }
            cmsDoTransform(transform.get(), color, color, 1);
            codes.insert(codes.end(), color, color + 3);
        }
        return codes;
    }

  private:
    std::shared_ptr<Bytes> pixels_ = std::make_shared<Bytes>();
    CVPixelBufferRef picture_;
};

constexpr double kShaperTolerance = 1.5;
/// The converter's lattice interpolates the profile's table.
constexpr double kTableTolerance = 2;

double worstError(const Bytes& pixels, const std::vector<double>& expected) {
    double worst = 0;
    for (std::size_t x = 0; x < expected.size() / 3; ++x) {
        for (std::size_t i = 0; i < 3; ++i) {
            const double code = 255 * std::min(std::max(expected[3 * x + i], 0.0), 1.0);
            worst = std::max(worst, std::abs(pixels[4 * x + i] - code));
        }
    }
    return worst;
}

TEST(RasterConverterICC, aScreenOfCurvesAndMatrixIsMatched) {
    const Profile sRGB(cmsCreate_sRGBProfile());
    Row row;
    row.setSRGB();
    const auto error = [&](const Profile& display) {
        return worstError(row.shownOn(bytesOf(display.get())),
                          row.expected(sRGB.get(), display.get()));
    };
    EXPECT_LE(error(shaperProfile(2.2)), kShaperTolerance);
    EXPECT_LE(error(shaperProfile(1.8)), kShaperTolerance);
    EXPECT_LE(error(shaperProfile(2.2, 2.4)), kShaperTolerance) << "no curve for all channels";
    EXPECT_LE(error(Profile(cmsCreate_sRGBProfile())), kShaperTolerance) << "no power";
}

TEST(RasterConverterICC, aPictureWithAProfileOfCurvesAndMatrixIsMatched) {
    const auto source = shaperProfile(1.8);
    const Profile sRGB(cmsCreate_sRGBProfile());
    Row row;
    row.setProfile(bytesOf(source.get()));
    EXPECT_LE(worstError(row.shownOn({}), row.expected(source.get(), sRGB.get())),
              kShaperTolerance);
}

TEST(RasterConverterICC, tablesOnEitherSideAreMatched) {
    const auto shaper = shaperProfile(2.2);
    const auto tables = tableProfile(shaper.get());
    const Profile sRGB(cmsCreate_sRGBProfile());
    Row onTables;
    onTables.setSRGB();
    EXPECT_LE(worstError(onTables.shownOn(bytesOf(tables.get())),
                         onTables.expected(sRGB.get(), tables.get())),
              kTableTolerance);
    Row ofTables;
    ofTables.setProfile(bytesOf(tables.get()));
    EXPECT_LE(worstError(ofTables.shownOn(bytesOf(shaper.get())),
                         ofTables.expected(tables.get(), shaper.get())),
              kTableTolerance);
}

TEST(RasterConverterICC, aScreenWithAProfileShowsVideoAsThatOfBT1886) {
    Row row;
    row.setSRGB(kCVImageBufferTransferFunction_ITU_R_709_2);
    const auto pixels = row.shownOn(bytesOf(Profile(cmsCreate_sRGBProfile()).get()));
    for (std::size_t code = 0; code < 256; ++code) {
        const double expected = 255 * test::encodeSRGB(test::screen1886(code / 255.0));
        EXPECT_NEAR(pixels[4 * code], expected, kShaperTolerance) << code;
    }
}

TEST(RasterConverterICC, codedColorOverridesAProfile) {
    Row row;
    row.setSRGB();
    const auto plain = row.shownOn({});
    row.setProfile(bytesOf(shaperProfile(1.8).get()));
    EXPECT_EQ(row.shownOn({}), plain);
}

TEST(RasterConverterICC, brokenProfilesMeanSRGB) {
    Row plain;
    plain.setSRGB();
    const auto expected = plain.shownOn({});
    const Profile xyz(cmsCreateXYZProfile());
    const auto good = bytesOf(shaperProfile(2.2).get());
    EXPECT_EQ(plain.shownOn(Bytes(200, 0x20)), expected);
    EXPECT_EQ(plain.shownOn(bytesOf(xyz.get())), expected);
    // A truncated or changed profile must do no harm.
    std::mt19937 random(1);
    for (std::size_t size = 0; size < good.size(); size += 37) {
        plain.shownOn(Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size)));
        auto changed = good;
        changed[random() % changed.size()] = static_cast<std::uint8_t>(random());
        EXPECT_EQ(plain.shownOn(changed).size(), expected.size());
    }
}

} // namespace
} // namespace zelvane

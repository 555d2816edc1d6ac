// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>
#include <lcms2.h>

#include "core_media/color_attachments.h"
#include "core_media/hdr_color_spaces.h"
#include "core_media/hdr_metadata.h"
#include "tests/support/pixel_buffers.h"

namespace zelvane::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// The coded values of a set without the common prefix of their names.
std::string coded(const CVAttachments& attachments) {
    std::string text;
    for (const auto key : {kCVImageBufferYCbCrMatrixKey, kCVImageBufferTransferFunctionKey,
                           kCVImageBufferColorPrimariesKey}) {
        const auto found = attachments.find(key);
        const auto value =
            found == attachments.end() ? "_none" : std::get<std::string>(found->second);
        text += (text.empty() ? "" : " ") + value.substr(value.find('_') + 1);
    }
    return text;
}

ffmpeg::Frame makeFrame(const CodedColors& colors) {
    ffmpeg::Frame frame(av_frame_alloc());
    frame->colorspace = colors.matrix;
    frame->color_primaries = colors.primaries;
    frame->color_trc = colors.transfer;
    return frame;
}

void addProfile(AVFrame& frame, const Bytes& bytes) {
    auto* sideData = av_frame_new_side_data(&frame, AV_FRAME_DATA_ICC_PROFILE, bytes.size());
    std::copy(bytes.begin(), bytes.end(), sideData->data);
}

CGColorSpaceRef pqPreset() {
    return hdrColorSpace(kCVImageBufferColorPrimaries_ITU_R_2020,
                         kCVImageBufferTransferFunction_SMPTE_ST_2084_PQ);
}

TEST(VideoColorBySize, takesTheFirstRowThatFits) {
    struct Row {
        int width;
        int height;
        bool isYCbCr;
        std::string expected;
    };
    for (const auto& row : {
             Row{1920, 1080, true, "ITU_R_709_2 ITU_R_709_2 ITU_R_709_2"},
             Row{1280, 100, true, "ITU_R_709_2 ITU_R_709_2 ITU_R_709_2"},
             Row{3839, 2160, true, "ITU_R_709_2 ITU_R_709_2 ITU_R_709_2"},
             Row{3840, 2160, true, "ITU_R_2020 ITU_R_2020 ITU_R_2020"},
             Row{1279, 720, true, "ITU_R_601_4 ITU_R_709_2 EBU_3213"},
             Row{720, 576, true, "ITU_R_601_4 ITU_R_709_2 EBU_3213"},
             Row{720, 484, true, "ITU_R_601_4 ITU_R_709_2 EBU_3213"},
             Row{720, 483, true, "ITU_R_601_4 ITU_R_709_2 SMPTE_C"},
             Row{3840, 2160, false, "none sRGB P22"},
         }) {
        const auto& made = colorAttachmentsForSize(row.width, row.height, row.isYCbCr);
        EXPECT_EQ(coded(made), row.expected) << row.width << "x" << row.height;
        EXPECT_TRUE(std::get<bool>(made.find(kDidConfigureColorSpaceKey)->second));
        EXPECT_NE(std::get<CGColorSpaceRef>(made.find(kCVImageBufferCGColorSpaceKey)->second),
                  nullptr);
        EXPECT_FALSE(made.contains(kCVImageBufferICCProfileKey));
    }
}

TEST(VideoColorByCodePoints, mapsPrimariesTransferAndMatrix) {
    struct Row {
        CodedColors colors;
        std::string expected;
    };
    const auto u = AVCOL_SPC_UNSPECIFIED;
    for (const auto& row : {
             Row{{AVCOL_SPC_BT709, AVCOL_PRI_BT709, AVCOL_TRC_BT709},
                 "ITU_R_709_2 ITU_R_709_2 ITU_R_709_2"},
             Row{{AVCOL_SPC_BT470BG, AVCOL_PRI_BT470BG, AVCOL_TRC_GAMMA28},
                 "ITU_R_601_4 UseGamma EBU_3213"},
             Row{{AVCOL_SPC_SMPTE170M, AVCOL_PRI_SMPTE170M, AVCOL_TRC_SMPTE170M},
                 "ITU_R_601_4 ITU_R_709_2 SMPTE_C"},
             Row{{AVCOL_SPC_SMPTE240M, AVCOL_PRI_SMPTE240M, AVCOL_TRC_SMPTE240M},
                 "SMPTE_240M_1995 SMPTE_240M_1995 SMPTE_C"},
             Row{{AVCOL_SPC_BT2020_CL, AVCOL_PRI_BT2020, AVCOL_TRC_BT2020_12},
                 "ITU_R_2020 ITU_R_2020 ITU_R_2020"},
             Row{{AVCOL_SPC_BT2020_NCL, AVCOL_PRI_BT2020, AVCOL_TRC_SMPTE2084},
                 "ITU_R_2020 SMPTE_ST_2084_PQ ITU_R_2020"},
             Row{{u, AVCOL_PRI_SMPTE431, AVCOL_TRC_SMPTE428}, "none SMPTE_ST_428_1 DCI_P3"},
             Row{{u, AVCOL_PRI_SMPTE432, AVCOL_TRC_IEC61966_2_1}, "none sRGB P3_D65"},
             Row{{u, AVCOL_PRI_SMPTE432, AVCOL_TRC_SMPTE2084}, "P3_D65 SMPTE_ST_2084_PQ P3_D65"},
             Row{{AVCOL_SPC_BT709, AVCOL_PRI_SMPTE432, AVCOL_TRC_ARIB_STD_B67},
                 "ITU_R_709_2 ITU_R_2100_HLG P3_D65"},
             Row{{AVCOL_SPC_RGB, AVCOL_PRI_JEDEC_P22, AVCOL_TRC_LINEAR}, "none Linear P22"},
             Row{{AVCOL_SPC_BT709, AVCOL_PRI_BT709, AVCOL_TRC_IEC61966_2_4},
                 "ITU_R_709_2 ITU_R_709_2 ITU_R_709_2"},
         }) {
        const auto made =
            colorAttachments(row.colors, kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange);
        ASSERT_TRUE(made.has_value()) << row.expected;
        EXPECT_EQ(coded(*made), row.expected);
    }
    const auto gamma = colorAttachments({u, AVCOL_PRI_BT709, AVCOL_TRC_GAMMA22}, 0);
    EXPECT_EQ(std::get<double>(gamma->find(kCVImageBufferGammaLevelKey)->second), 2.2);
}

TEST(VideoColorByCodePoints, givesNothingUnlessPrimariesAndTransferAreKnown) {
    const CodedColors pqWithoutPrimaries{AVCOL_SPC_BT2020_NCL, AVCOL_PRI_UNSPECIFIED,
                                         AVCOL_TRC_SMPTE2084};
    EXPECT_FALSE(colorAttachments(pqWithoutPrimaries, 0));
    EXPECT_FALSE(colorAttachments({AVCOL_SPC_BT709, AVCOL_PRI_BT709, AVCOL_TRC_UNSPECIFIED}, 0));
    EXPECT_FALSE(colorAttachments({AVCOL_SPC_BT709, AVCOL_PRI_FILM, AVCOL_TRC_BT709}, 0));
    EXPECT_FALSE(colorAttachments({AVCOL_SPC_BT709, AVCOL_PRI_BT709, AVCOL_TRC_LOG}, 0));
}

TEST(VideoColorOfFrame, aMatrixThatIsStatedAloneCountsForYCbCr) {
    struct Row {
        OSType format;
        CodedColors colors;
        std::string expected;
    };
    for (const auto& row : {
             Row{kCVPixelFormatType_422YpCbCr8FullRange,
                 {AVCOL_SPC_BT470BG},
                 "ITU_R_601_4 ITU_R_709_2 ITU_R_709_2"},
             Row{kCVPixelFormatType_420YpCbCr8Planar,
                 {AVCOL_SPC_BT2020_NCL, AVCOL_PRI_UNSPECIFIED, AVCOL_TRC_SMPTE2084},
                 "ITU_R_2020 ITU_R_709_2 ITU_R_709_2"},
             Row{kCVPixelFormatType_420YpCbCr8Planar,
                 {AVCOL_SPC_YCGCO},
                 "ITU_R_709_2 ITU_R_709_2 ITU_R_709_2"},
             Row{kCVPixelFormatType_32BGRA, {AVCOL_SPC_BT470BG}, "none sRGB P22"},
         }) {
        auto pixelBuffer = makePixelBuffer(row.format, 1920, 1080);
        FrameColorConfigurator().configure(*pixelBuffer, *makeFrame(row.colors));
        EXPECT_EQ(coded(pixelBuffer->attachments()), row.expected);
    }
}

TEST(VideoColorOfFrame, aProfileLeavesTheMatrixOfYCbCr) {
    const std::pair<CodedColors, std::string> rows[] = {
        {{AVCOL_SPC_SMPTE240M}, "SMPTE_240M_1995 none none"},
        {{AVCOL_SPC_UNSPECIFIED, AVCOL_PRI_BT2020}, "ITU_R_2020 none none"},
        {{}, "ITU_R_601_4 none none"},
    };
    for (const auto& [colors, expected] : rows) {
        auto frame = makeFrame(colors);
        addProfile(*frame, pqPreset()->iccData());
        auto pixelBuffer = makePixelBuffer(kCVPixelFormatType_420YpCbCr8Planar, 64, 64);
        FrameColorConfigurator().configure(*pixelBuffer, *frame);
        EXPECT_EQ(coded(pixelBuffer->attachments()), expected);
    }
}

TEST(VideoColorOfFrame, replacesOldAttachmentsOnce) {
    auto pixelBuffer = makePixelBuffer(kCVPixelFormatType_420YpCbCr8Planar, 64, 64);
    pixelBuffer->setAttachment(kCVImageBufferGammaLevelKey, 1.8);
    FrameColorConfigurator configurator;
    configurator.configure(*pixelBuffer,
                           *makeFrame({AVCOL_SPC_BT709, AVCOL_PRI_BT709, AVCOL_TRC_BT709}));
    EXPECT_FALSE(pixelBuffer->hasAttachment(kCVImageBufferGammaLevelKey));
    EXPECT_EQ(coded(pixelBuffer->attachments()), "ITU_R_709_2 ITU_R_709_2 ITU_R_709_2");

    configurator.configure(
        *pixelBuffer, *makeFrame({AVCOL_SPC_BT2020_NCL, AVCOL_PRI_BT2020, AVCOL_TRC_SMPTE2084}));
    EXPECT_EQ(coded(pixelBuffer->attachments()), "ITU_R_709_2 ITU_R_709_2 ITU_R_709_2");
}

TEST(VideoColorOfFrame, anICCProfileOverridesCodePointsUnlessItIsBroken) {
    const auto& profile = pqPreset()->iccData();
    auto frame = makeFrame({AVCOL_SPC_BT709, AVCOL_PRI_BT709, AVCOL_TRC_BT709});
    addProfile(*frame, profile);
    auto pixelBuffer = makePixelBuffer(kCVPixelFormatType_32BGRA, 64, 64);
    pixelBuffer->setAttachments(colorAttachmentsForSize(64, 64, false));
    FrameColorConfigurator configurator;
    configurator.configure(*pixelBuffer, *frame);
    ASSERT_NE(pixelBuffer->attachment<Bytes>(kCVImageBufferICCProfileKey), nullptr);
    EXPECT_EQ(*pixelBuffer->attachment<Bytes>(kCVImageBufferICCProfileKey), profile);
    EXPECT_EQ(coded(pixelBuffer->attachments()), "none none none");

    auto broken = makeFrame({AVCOL_SPC_BT709, AVCOL_PRI_BT709, AVCOL_TRC_BT709});
    addProfile(*broken, Bytes(profile.begin(), profile.begin() + 140));
    pixelBuffer = makePixelBuffer(kCVPixelFormatType_32BGRA, 64, 64);
    configurator.configure(*pixelBuffer, *broken);
    EXPECT_FALSE(pixelBuffer->hasAttachment(kCVImageBufferICCProfileKey));
    EXPECT_EQ(coded(pixelBuffer->attachments()), "ITU_R_709_2 ITU_R_709_2 ITU_R_709_2");
}

TEST(HDRColorSpace, hasADisplayProfileWithItsPrimariesAndCurve) {
    struct Row {
        std::string_view primaries;
        std::string_view transfer;
        std::string name;
        /// Adapted to D50.
        cmsCIEXYZ red;
        /// Light at the code value of one half.
        double lightOfHalf;
    };
    constexpr cmsCIEXYZ kRed2020{0.6734, 0.2790, -0.0019};
    constexpr cmsCIEXYZ kRedP3{0.5151, 0.2412, -0.0010};
    constexpr auto k2020 = kCVImageBufferColorPrimaries_ITU_R_2020;
    constexpr auto kP3 = kCVImageBufferColorPrimaries_P3_D65;
    constexpr auto kPQ = kCVImageBufferTransferFunction_SMPTE_ST_2084_PQ;
    constexpr auto kHLG = kCVImageBufferTransferFunction_ITU_R_2100_HLG;
    for (const auto& row :
         {Row{k2020, kPQ, "Rec. ITU-R BT.2020; SMPTE ST 2084 PQ", kRed2020, 0.00922},
          Row{k2020, kHLG, "Rec. ITU-R BT.2020; ARIB STD-B67 HLG", kRed2020, 1.0 / 12},
          Row{kP3, kPQ, "Display P3; SMPTE ST 2084 PQ", kRedP3, 0.00922},
          Row{kP3, kHLG, "Display P3; ARIB STD-B67 HLG", kRedP3, 1.0 / 12}}) {
        const auto colorSpace = hdrColorSpace(row.primaries, row.transfer);
        ASSERT_NE(colorSpace, nullptr);
        EXPECT_EQ(colorSpace->name(), row.name);
        EXPECT_EQ(hdrColorSpace(row.primaries, row.transfer), colorSpace);
        const auto& bytes = colorSpace->iccData();
        const std::unique_ptr<void, decltype(&cmsCloseProfile)> profile(
            cmsOpenProfileFromMem(bytes.data(), static_cast<cmsUInt32Number>(bytes.size())),
            cmsCloseProfile);
        EXPECT_EQ(cmsGetDeviceClass(profile.get()), cmsSigDisplayClass);
        EXPECT_EQ(cmsGetColorSpace(profile.get()), cmsSigRgbData);
        const auto* red =
            static_cast<const cmsCIEXYZ*>(cmsReadTag(profile.get(), cmsSigRedColorantTag));
        EXPECT_NEAR(red->X, row.red.X, 0.0006) << row.name;
        EXPECT_NEAR(red->Y, row.red.Y, 0.0006) << row.name;
        EXPECT_NEAR(red->Z, row.red.Z, 0.0006) << row.name;
        const auto* curve =
            static_cast<const cmsToneCurve*>(cmsReadTag(profile.get(), cmsSigGreenTRCTag));
        EXPECT_NEAR(cmsEvalToneCurveFloat(curve, 0.5F), row.lightOfHalf, 0.0002) << row.name;
        EXPECT_EQ(cmsEvalToneCurveFloat(curve, 1), 1);
    }
    EXPECT_EQ(hdrColorSpace(kCVImageBufferColorPrimaries_ITU_R_709_2, kPQ), nullptr);
}

AVMasteringDisplayMetadata masteringDisplay() {
    AVMasteringDisplayMetadata metadata{};
    const int red[] = {34000, 16000};
    const int green[] = {13250, 34500};
    const int blue[] = {7500, 3000};
    const int white[] = {15635, 16450};
    for (int i = 0; i < 2; ++i) {
        metadata.display_primaries[0][i] = {red[i], 50000};
        metadata.display_primaries[1][i] = {green[i] * 2, 100000};
        metadata.display_primaries[2][i] = {blue[i], 50000};
        metadata.white_point[i] = {white[i], 50000};
    }
    metadata.max_luminance = {1000, 1};
    metadata.min_luminance = {1, 200};
    return metadata;
}

TEST(MasteringDisplayBytes, areThoseOfTheSEIMessageAndZeroForMissingValues) {
    auto metadata = masteringDisplay();
    const Bytes zeroPrimaries(16);
    const Bytes primaries{0x33, 0xc2, 0x86, 0xc4, 0x1d, 0x4c, 0x0b, 0xb8,
                          0x84, 0xd0, 0x3e, 0x80, 0x3d, 0x13, 0x40, 0x42};
    const Bytes luminance{0x00, 0x98, 0x96, 0x80, 0x00, 0x00, 0x00, 0x32};
    const auto expect = [&](const Bytes& first, const Bytes& last) {
        Bytes expected = first;
        expected.insert(expected.end(), last.begin(), last.end());
        EXPECT_EQ(masteringDisplayColorVolumeSEIMessageData(metadata), expected);
    };
    expect(zeroPrimaries, Bytes(8));
    metadata.has_luminance = 1;
    expect(zeroPrimaries, luminance);
    metadata.has_primaries = 1;
    expect(primaries, luminance);
    metadata.has_luminance = 0;
    expect(primaries, Bytes(8));
}

TEST(MasteringDisplayBytes, areNoneForDamagedMetadata) {
    auto metadata = masteringDisplay();
    metadata.has_primaries = 1;
    for (const AVRational damaged : {AVRational{2, 1}, {-1, 1}, {0, 0}, {1, 0}}) {
        metadata.white_point[1] = damaged;
        EXPECT_EQ(masteringDisplayColorVolumeSEIMessageData(metadata), std::nullopt);
    }
}

TEST(ContentLightLevelBytes, areTwoBigEndianNumbersOrNone) {
    AVContentLightMetadata level{};
    level.MaxCLL = 65535;
    level.MaxFALL = 0x0102;
    EXPECT_EQ(contentLightLevelInfoSEIMessageData(level), (Bytes{0xff, 0xff, 0x01, 0x02}));
    level.MaxFALL = 65536;
    EXPECT_EQ(contentLightLevelInfoSEIMessageData(level), std::nullopt);
    std::swap(level.MaxCLL, level.MaxFALL);
    EXPECT_EQ(contentLightLevelInfoSEIMessageData(level), std::nullopt);
}

} // namespace
} // namespace zelvane::test

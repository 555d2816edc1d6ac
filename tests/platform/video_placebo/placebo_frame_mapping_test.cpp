// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/video_placebo/placebo_frame_mapping.h"
#include "tests/platform/matrix_cases.h"

#include <array>
#include <string>

#include <gtest/gtest.h>

namespace zelvane {
namespace {

using Bytes = std::vector<std::uint8_t>;

class PlaceboFrameMappingTest : public testing::Test {
  protected:
    CVPixelBufferRef picture() {
        return test::makePixelBuffer(kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange, 64, 36);
    }

    static void set(CVPixelBuffer& picture, std::string_view key, CVAttachmentValue value) {
        picture.setAttachment(key, std::move(value));
    }

    CVPixelBufferRef pqPicture() {
        auto made = picture();
        set(*made, kCVImageBufferColorPrimariesKey,
            std::string(kCVImageBufferColorPrimaries_ITU_R_2020));
        set(*made, kCVImageBufferTransferFunctionKey,
            std::string(kCVImageBufferTransferFunction_SMPTE_ST_2084_PQ));
        return made;
    }

    static Bytes masteringDisplay(std::uint32_t maximum, std::uint32_t minimum) {
        Bytes bytes(16);
        for (const auto luminance : {maximum * 10'000, minimum}) {
            for (const int shift : {24, 16, 8, 0}) {
                bytes.push_back(static_cast<std::uint8_t>(luminance >> shift & 0xff));
            }
        }
        return bytes;
    }

    static Bytes contentLight(int maximum) {
        return {static_cast<std::uint8_t>(maximum >> 8), static_cast<std::uint8_t>(maximum), 0, 50};
    }
};

TEST_F(PlaceboFrameMappingTest, thePeakOfAPQPictureIsTheLowestThatItStates) {
    struct Case {
        Bytes display;
        Bytes content;
        float peak;
        float black;
    };
    const std::vector<Case> cases{
        {{}, {}, 1000, 0},
        {masteringDisplay(4000, 50), {}, 4000, 0.005F},
        {masteringDisplay(4000, 50), contentLight(600), 600, 0.005F},
        {masteringDisplay(1000, 1), contentLight(2000), 1000, 0.0001F},
        {{}, contentLight(600), 600, 0},
        {masteringDisplay(0, 0), contentLight(0), 1000, 0},
        {Bytes(3), Bytes(1), 1000, 0},
    };
    for (const auto& expected : cases) {
        const auto pq = pqPicture();
        set(*pq, kCVImageBufferMasteringDisplayColorVolumeKey, expected.display);
        set(*pq, kCVImageBufferContentLightLevelInfoKey, expected.content);
        const auto mapping = placeboFrameMapping(*pq);
        ASSERT_TRUE(mapping);
        EXPECT_FLOAT_EQ(mapping->color.hdr.max_luma, expected.peak);
        EXPECT_FLOAT_EQ(mapping->color.hdr.min_luma, expected.black);
    }
}

TEST_F(PlaceboFrameMappingTest, luminancesOfSDRPicturesAreIgnored) {
    const auto sdr = picture();
    set(*sdr, kCVImageBufferMasteringDisplayColorVolumeKey, masteringDisplay(4000, 50));
    EXPECT_EQ(placeboFrameMapping(*sdr)->color.hdr.max_luma, 0);
}

TEST_F(PlaceboFrameMappingTest, codedValuesOverrideAProfile) {
    const auto pq = pqPicture();
    set(*pq, kCVImageBufferICCProfileKey, Bytes{1, 2, 3});
    EXPECT_TRUE(placeboFrameMapping(*pq)->iccProfile.empty());
    const auto profiled = picture();
    set(*profiled, kCVImageBufferICCProfileKey, Bytes{1, 2, 3});
    EXPECT_EQ(placeboFrameMapping(*profiled)->iccProfile.size(), 3U);
}

TEST_F(PlaceboFrameMappingTest, usesTheCommonMatrix) {
    constexpr pl_color_system kSystems[] = {PL_COLOR_SYSTEM_BT_601, PL_COLOR_SYSTEM_BT_709,
                                            PL_COLOR_SYSTEM_SMPTE_240M, PL_COLOR_SYSTEM_BT_2020_NC};
    for (const auto& test : test::kMatrixCases) {
        EXPECT_EQ(placeboFrameMapping(*pictureOf(test))->repr.sys,
                  kSystems[static_cast<int>(test.expected)])
            << test.primaries << " " << test.width;
    }
}

TEST_F(PlaceboFrameMappingTest, aStatedGammaBecomesTheNearestOfLibplacebo) {
    const auto gamma = picture();
    set(*gamma, kCVImageBufferTransferFunctionKey,
        std::string(kCVImageBufferTransferFunction_UseGamma));
    for (const auto& [level, transfer] : {std::pair{2.2, PL_COLOR_TRC_GAMMA22},
                                          {2.8, PL_COLOR_TRC_GAMMA28},
                                          {2.35, PL_COLOR_TRC_GAMMA24}}) {
        set(*gamma, kCVImageBufferGammaLevelKey, level);
        EXPECT_EQ(placeboFrameMapping(*gamma)->color.transfer, transfer) << level;
    }
}

} // namespace
} // namespace zelvane

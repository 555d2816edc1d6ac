// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "player_window/picture_view.h"
#include "tests/player_window/window_test_support.h"
#include "tests/support/pixel_buffers.h"

namespace zelvane {
namespace {

constexpr int kWidth = 320;
constexpr int kHeight = 240;

struct ColorCase {
    const char* name;
    OSType format;
    std::string_view matrix;
    std::string_view primaries;
    std::string_view transfer;
    int tolerance;
};

/// Luma increases to the right, chroma changes slowly downward.
void fillWithRamps(const CVPixelBuffer& picture) {
    const bool isTenBit = picture.pixelFormat() == kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange;
    const auto put = [&](const CVPixelBuffer::Plane& plane, int x, int y, int value) {
        auto* row = plane.baseAddress + static_cast<std::size_t>(y) * plane.bytesPerRow;
        if (isTenBit) {
            const int word = value << 8;
            row[2 * x] = static_cast<std::uint8_t>(word & 0xff);
            row[2 * x + 1] = static_cast<std::uint8_t>(word >> 8);
        } else {
            row[x] = static_cast<std::uint8_t>(value);
        }
    };
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            put(picture.plane(0), x, y, 40 + x / 2);
        }
    }
    for (int y = 0; y < kHeight / 2; ++y) {
        for (int x = 0; x < kWidth / 2; ++x) {
            put(picture.plane(1), 2 * x, y, 118 + y / 6);
            put(picture.plane(1), 2 * x + 1, y, 138 - y / 6);
        }
    }
}

CVPixelBufferRef ramps(const ColorCase& color) {
    CVAttachments attachments;
    const auto propagate = [&](std::string_view key, std::string_view value) {
        if (!value.empty()) {
            attachments.emplace(key, std::string(value));
        }
    };
    propagate(kCVImageBufferYCbCrMatrixKey, color.matrix);
    propagate(kCVImageBufferColorPrimariesKey, color.primaries);
    propagate(kCVImageBufferTransferFunctionKey, color.transfer);
    auto picture = test::makePixelBuffer(color.format, kWidth, kHeight, std::move(attachments));
    fillWithRamps(*picture);
    return picture;
}

/// A window with a surface of one kind.
class Surface {
  public:
    explicit Surface(const char* allowSoftwareGL) {
        qputenv("ZELVANE_ALLOW_SOFTWARE_GL", allowSoftwareGL);
        window_.setFixedSize(kWidth, kHeight);
        view_ = std::make_unique<PictureView>(&window_).release();
        view_->setGeometry(window_.rect());
        EXPECT_TRUE(test::showAndWait(window_));
    }

    QImage shown(const CVPixelBufferRef& picture) {
        window_.raise();
        EXPECT_TRUE(test::presentAndWait(*view_->presenter(), test::frameOf(picture)));
        return test::screenshot(window_);
    }

  private:
    QWidget window_;
    PictureView* view_ = nullptr;
};

/// The difference in code values for all but one in 500 samples: at the edge of the gamut a small
/// difference in light is many code values.
int usualDifference(const QImage& a, const QImage& b) {
    std::vector<int> differences;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const QRgb p = a.pixel(x, y);
            const QRgb q = b.pixel(x, y);
            differences.push_back(std::abs(qRed(p) - qRed(q)));
            differences.push_back(std::abs(qGreen(p) - qGreen(q)));
            differences.push_back(std::abs(qBlue(p) - qBlue(q)));
        }
    }
    const auto rank = differences.end() - static_cast<std::ptrdiff_t>(differences.size() / 500);
    std::nth_element(differences.begin(), rank, differences.end());
    return *rank;
}

TEST(Surfaces, showTheSameColors) {
    const std::vector<ColorCase> cases{
        {"709", kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange,
         kCVImageBufferYCbCrMatrix_ITU_R_709_2, kCVImageBufferColorPrimaries_ITU_R_709_2,
         kCVImageBufferTransferFunction_ITU_R_709_2, 1},
        {"P3 without a matrix", kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange, "",
         kCVImageBufferColorPrimaries_P3_D65, kCVImageBufferTransferFunction_sRGB, 1},
        {"2020 without a matrix", kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange, "",
         kCVImageBufferColorPrimaries_ITU_R_2020, kCVImageBufferTransferFunction_SMPTE_ST_2084_PQ,
         3},
        {"601", kCVPixelFormatType_420YpCbCr8BiPlanarFullRange,
         kCVImageBufferYCbCrMatrix_ITU_R_601_4, kCVImageBufferColorPrimaries_EBU_3213,
         kCVImageBufferTransferFunction_ITU_R_709_2, 1},
        {"2020", kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange,
         kCVImageBufferYCbCrMatrix_ITU_R_2020, kCVImageBufferColorPrimaries_ITU_R_2020,
         kCVImageBufferTransferFunction_ITU_R_2020, 1},
        {"PQ", kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange,
         kCVImageBufferYCbCrMatrix_ITU_R_2020, kCVImageBufferColorPrimaries_ITU_R_2020,
         kCVImageBufferTransferFunction_SMPTE_ST_2084_PQ, 3},
        {"HLG", kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange,
         kCVImageBufferYCbCrMatrix_ITU_R_2020, kCVImageBufferColorPrimaries_ITU_R_2020,
         kCVImageBufferTransferFunction_ITU_R_2100_HLG, 3},
    };
    Surface raster("0");
    Surface placebo("1");
    for (const auto& color : cases) {
        const auto picture = ramps(color);
        const QImage onProcessor = raster.shown(picture);
        const QImage onGraphics = placebo.shown(picture);
        EXPECT_LE(usualDifference(onProcessor, onGraphics), color.tolerance) << color.name;
        EXPECT_NE(onProcessor.pixel(10, 10), onProcessor.pixel(kWidth - 10, kHeight - 10));
    }
}

} // namespace
} // namespace zelvane

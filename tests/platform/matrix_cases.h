// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "core_media/ycbcr_matrix.h"
#include "tests/support/pixel_buffers.h"

namespace zelvane::test {

/// The matrix and primaries that a picture states, and the matrix that all presenters must use.
struct MatrixCase {
    std::string_view matrix;
    std::string_view primaries;
    int width;
    YCbCrMatrix expected;
};

inline const MatrixCase kMatrixCases[] = {
    {"", "", 1279, YCbCrMatrix::bt601},
    {"", "", 1280, YCbCrMatrix::bt709},
    {"", "", 3840, YCbCrMatrix::bt2020},
    {"", kCVImageBufferColorPrimaries_ITU_R_2020, 640, YCbCrMatrix::bt2020},
    {"", kCVImageBufferColorPrimaries_ITU_R_709_2, 640, YCbCrMatrix::bt709},
    {"", kCVImageBufferColorPrimaries_ITU_R_709_2, 3840, YCbCrMatrix::bt709},
    {"", kCVImageBufferColorPrimaries_P3_D65, 3840, YCbCrMatrix::bt709},
    {"", kCVImageBufferColorPrimaries_DCI_P3, 640, YCbCrMatrix::bt709},
    {"", kCVImageBufferColorPrimaries_SMPTE_C, 1920, YCbCrMatrix::bt601},
    {"", kCVImageBufferColorPrimaries_EBU_3213, 1920, YCbCrMatrix::bt601},
    {"", kCVImageBufferColorPrimaries_P22, 1920, YCbCrMatrix::bt709},
    {kCVImageBufferYCbCrMatrix_P3_D65, "", 640, YCbCrMatrix::bt709},
    {kCVImageBufferYCbCrMatrix_SMPTE_240M_1995, "", 640, YCbCrMatrix::smpte240M},
    {kCVImageBufferYCbCrMatrix_ITU_R_601_4, kCVImageBufferColorPrimaries_ITU_R_2020, 3840,
     YCbCrMatrix::bt601},
};

inline CVPixelBufferRef pictureOf(const MatrixCase& test) {
    CVAttachments attachments;
    for (const auto& [key, value] : {std::pair{kCVImageBufferYCbCrMatrixKey, test.matrix},
                                     std::pair{kCVImageBufferColorPrimariesKey, test.primaries}}) {
        if (!value.empty()) {
            attachments.emplace(key, std::string(value));
        }
    }
    return makePixelBuffer(kCVPixelFormatType_420YpCbCr8Planar, test.width, 2, attachments);
}

} // namespace zelvane::test

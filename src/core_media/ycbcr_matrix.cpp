// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/ycbcr_matrix.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "core_media/color_attachments.h"

namespace zelvane {
namespace {

template <class Value, std::size_t count>
using Names = std::array<std::pair<std::string_view, Value>, count>;

constexpr Names<YCbCrMatrix, 5> kMatrices{{
    {kCVImageBufferYCbCrMatrix_ITU_R_601_4, YCbCrMatrix::bt601},
    {kCVImageBufferYCbCrMatrix_ITU_R_709_2, YCbCrMatrix::bt709},
    {kCVImageBufferYCbCrMatrix_SMPTE_240M_1995, YCbCrMatrix::smpte240M},
    {kCVImageBufferYCbCrMatrix_ITU_R_2020, YCbCrMatrix::bt2020},
    // No encoder is known to use it, and libplacebo does not have it: BT.709 is the nearest.
    {kCVImageBufferYCbCrMatrix_P3_D65, YCbCrMatrix::bt709},
}};

constexpr Names<std::string_view, 6> kMatrixByPrimaries{{
    {kCVImageBufferColorPrimaries_ITU_R_709_2, kCVImageBufferYCbCrMatrix_ITU_R_709_2},
    {kCVImageBufferColorPrimaries_EBU_3213, kCVImageBufferYCbCrMatrix_ITU_R_601_4},
    {kCVImageBufferColorPrimaries_SMPTE_C, kCVImageBufferYCbCrMatrix_ITU_R_601_4},
    {kCVImageBufferColorPrimaries_ITU_R_2020, kCVImageBufferYCbCrMatrix_ITU_R_2020},
    {kCVImageBufferColorPrimaries_DCI_P3, kCVImageBufferYCbCrMatrix_ITU_R_709_2},
    {kCVImageBufferColorPrimaries_P3_D65, kCVImageBufferYCbCrMatrix_ITU_R_709_2},
}};

template <class Value, std::size_t count>
const Value* find(const Names<Value, count>& names, std::string_view name) {
    const auto* const found = std::find_if(names.begin(), names.end(),
                                           [&](const auto& entry) { return entry.first == name; });
    return found == names.end() ? nullptr : &found->second;
}

std::string_view nameOf(const CVPixelBuffer& picture, std::string_view key) {
    const auto* const name = picture.attachment<std::string>(key);
    return name == nullptr ? std::string_view() : std::string_view(*name);
}

} // namespace

std::string_view yCbCrMatrixName(std::string_view matrix, std::string_view primaries, int width,
                                 int height) {
    if (find(kMatrices, matrix) != nullptr) {
        return matrix;
    }
    if (const auto* const found = find(kMatrixByPrimaries, primaries)) {
        return *found;
    }
    const auto& usual = colorAttachmentsForSize(width, height, true);
    return std::get<std::string>(usual.find(kCVImageBufferYCbCrMatrixKey)->second);
}

YCbCrMatrix yCbCrMatrixOf(const CVPixelBuffer& picture) {
    const auto name = yCbCrMatrixName(nameOf(picture, kCVImageBufferYCbCrMatrixKey),
                                      nameOf(picture, kCVImageBufferColorPrimariesKey),
                                      picture.width(), picture.height());
    return *find(kMatrices, name);
}

} // namespace zelvane

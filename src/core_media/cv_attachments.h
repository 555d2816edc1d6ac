// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "core_media/cg_color_space.h"

namespace zelvane {

struct PixelAspectRatio {
    int horizontalSpacing = 1;
    int verticalSpacing = 1;
    friend bool operator==(const PixelAspectRatio&, const PixelAspectRatio&) = default;
};

/// The properties of a buffer's pixels beside their layout. Values of coded colour are the names of
/// the constants below.
using CVAttachmentValue = std::variant<bool, double, std::string, std::vector<std::uint8_t>,
                                       PixelAspectRatio, CGColorSpaceRef>;
using CVAttachments = std::map<std::string, CVAttachmentValue, std::less<>>;

#define ZELVANE_NAME(name) inline constexpr std::string_view name = #name

ZELVANE_NAME(kCVImageBufferCGColorSpaceKey);
ZELVANE_NAME(kCVImageBufferICCProfileKey);
ZELVANE_NAME(kCVImageBufferYCbCrMatrixKey);
ZELVANE_NAME(kCVImageBufferColorPrimariesKey);
ZELVANE_NAME(kCVImageBufferTransferFunctionKey);
ZELVANE_NAME(kCVImageBufferGammaLevelKey);
ZELVANE_NAME(kCVImageBufferPixelAspectRatioKey);
ZELVANE_NAME(kCVImageBufferMasteringDisplayColorVolumeKey);
ZELVANE_NAME(kCVImageBufferContentLightLevelInfoKey);

ZELVANE_NAME(kCVImageBufferColorPrimaries_ITU_R_709_2);
ZELVANE_NAME(kCVImageBufferColorPrimaries_EBU_3213);
ZELVANE_NAME(kCVImageBufferColorPrimaries_SMPTE_C);
ZELVANE_NAME(kCVImageBufferColorPrimaries_ITU_R_2020);
ZELVANE_NAME(kCVImageBufferColorPrimaries_DCI_P3);
ZELVANE_NAME(kCVImageBufferColorPrimaries_P3_D65);
ZELVANE_NAME(kCVImageBufferColorPrimaries_P22);

ZELVANE_NAME(kCVImageBufferTransferFunction_ITU_R_709_2);
ZELVANE_NAME(kCVImageBufferTransferFunction_UseGamma);
ZELVANE_NAME(kCVImageBufferTransferFunction_SMPTE_240M_1995);
ZELVANE_NAME(kCVImageBufferTransferFunction_Linear);
ZELVANE_NAME(kCVImageBufferTransferFunction_sRGB);
ZELVANE_NAME(kCVImageBufferTransferFunction_ITU_R_2020);
ZELVANE_NAME(kCVImageBufferTransferFunction_SMPTE_ST_2084_PQ);
ZELVANE_NAME(kCVImageBufferTransferFunction_SMPTE_ST_428_1);
ZELVANE_NAME(kCVImageBufferTransferFunction_ITU_R_2100_HLG);

ZELVANE_NAME(kCVImageBufferYCbCrMatrix_ITU_R_709_2);
ZELVANE_NAME(kCVImageBufferYCbCrMatrix_ITU_R_601_4);
ZELVANE_NAME(kCVImageBufferYCbCrMatrix_SMPTE_240M_1995);
ZELVANE_NAME(kCVImageBufferYCbCrMatrix_ITU_R_2020);
ZELVANE_NAME(kCVImageBufferYCbCrMatrix_P3_D65);

#undef ZELVANE_NAME

/// Set once a buffer's colour has been decided, so that later frames of a pooled buffer skip it.
inline constexpr std::string_view kDidConfigureColorSpaceKey = "zelvane.didConfigureColorSpace";

} // namespace zelvane

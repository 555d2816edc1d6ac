// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/cg_color_space.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include <lcms2.h>

#include "core_media/cv_attachments.h"
#include "foundation/release.h"

namespace zelvane {
namespace {

using Profile = std::unique_ptr<void, Release<cmsCloseProfile>>;

using Transform = std::unique_ptr<void, Release<cmsDeleteTransform>>;

constexpr std::array kKnownPrimaries{
    kCVImageBufferColorPrimaries_ITU_R_709_2, kCVImageBufferColorPrimaries_EBU_3213,
    kCVImageBufferColorPrimaries_SMPTE_C,     kCVImageBufferColorPrimaries_ITU_R_2020,
    kCVImageBufferColorPrimaries_DCI_P3,      kCVImageBufferColorPrimaries_P3_D65,
    kCVImageBufferColorPrimaries_P22,
};

constexpr std::array kKnownTransfers{
    kCVImageBufferTransferFunction_ITU_R_709_2,
    kCVImageBufferTransferFunction_UseGamma,
    kCVImageBufferTransferFunction_SMPTE_240M_1995,
    kCVImageBufferTransferFunction_Linear,
    kCVImageBufferTransferFunction_sRGB,
    kCVImageBufferTransferFunction_ITU_R_2020,
    kCVImageBufferTransferFunction_SMPTE_ST_2084_PQ,
    kCVImageBufferTransferFunction_SMPTE_ST_428_1,
    kCVImageBufferTransferFunction_ITU_R_2100_HLG,
};

template <class Names>
bool isAmong(const Names& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

/// Zero for kinds of colour that no picture has here.
cmsUInt32Number pictureLayout(cmsColorSpaceSignature space) {
    switch (space) {
    case cmsSigRgbData:
        return TYPE_RGB_16;
    case cmsSigGrayData:
        return TYPE_GRAY_16;
    case cmsSigYCbCrData:
        return TYPE_YCbCr_16;
    default:
        return 0;
    }
}

/// A valid header proves little: a profile is usable only if lcms can convert colours with it.
bool canConvertColors(const Profile& profile) {
    const auto layout = pictureLayout(cmsGetColorSpace(profile.get()));
    if (layout == 0) {
        return false;
    }
    const Profile connection(cmsCreateXYZProfile());
    const Transform transform(cmsCreateTransform(profile.get(), layout, connection.get(),
                                                 TYPE_XYZ_DBL, INTENT_RELATIVE_COLORIMETRIC,
                                                 cmsFLAGS_NOOPTIMIZE));
    return transform != nullptr;
}

std::string profileDescription(const Profile& profile) {
    std::array<char, 256> text{};
    cmsGetProfileInfoASCII(profile.get(), cmsInfoDescription, "en", "US", text.data(),
                           text.size() - 1);
    return text.data();
}

} // namespace

CGColorSpaceRef CGColorSpace::createWithICCData(std::span<const std::uint8_t> profile) {
    const Profile opened(
        cmsOpenProfileFromMem(profile.data(), static_cast<cmsUInt32Number>(profile.size())));
    if (opened == nullptr || !canConvertColors(opened)) {
        return nullptr;
    }
    std::shared_ptr<CGColorSpace> made(new CGColorSpace);
    made->iccData_.assign(profile.begin(), profile.end());
    made->name_ = profileDescription(opened);
    return made;
}

CGColorSpaceRef CGColorSpace::createWithCodedValues(std::string primaries, std::string transfer,
                                                    std::string matrix,
                                                    std::optional<double> gamma) {
    if (!isAmong(kKnownPrimaries, primaries) || !isAmong(kKnownTransfers, transfer)) {
        return nullptr;
    }
    std::shared_ptr<CGColorSpace> made(new CGColorSpace);
    made->name_ = primaries + "; " + transfer + "; " + matrix;
    made->primaries_ = std::move(primaries);
    made->transfer_ = std::move(transfer);
    made->matrix_ = std::move(matrix);
    made->gamma_ = gamma;
    return made;
}

} // namespace zelvane

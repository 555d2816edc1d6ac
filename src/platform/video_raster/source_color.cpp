// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/video_raster/source_color.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace zelvane::raster {
namespace {

constexpr double kUsualPQPeak = 1000;
constexpr double kHighestPeak = 10000;

template <class Value, std::size_t size>
const Value* find(const std::array<std::pair<std::string_view, Value>, size>& table,
                  const std::string* name) {
    if (name == nullptr) {
        return nullptr;
    }
    const auto* found = std::find_if(table.begin(), table.end(),
                                     [&](const auto& entry) { return entry.first == *name; });
    return found == table.end() ? nullptr : &found->second;
}

constexpr std::array<std::pair<std::string_view, Primaries>, 7> kPrimariesByName{{
    {kCVImageBufferColorPrimaries_ITU_R_709_2, kPrimariesBT709},
    {kCVImageBufferColorPrimaries_EBU_3213, kPrimariesEBU},
    {kCVImageBufferColorPrimaries_SMPTE_C, kPrimariesSMPTEC},
    {kCVImageBufferColorPrimaries_ITU_R_2020, kPrimariesBT2020},
    {kCVImageBufferColorPrimaries_DCI_P3, kPrimariesDCIP3},
    {kCVImageBufferColorPrimaries_P3_D65, kPrimariesP3D65},
    {kCVImageBufferColorPrimaries_P22, kPrimariesP22},
}};

constexpr std::array<std::pair<std::string_view, Transfer>, 9> kTransferByName{{
    {kCVImageBufferTransferFunction_ITU_R_709_2, Transfer::bt1886},
    {kCVImageBufferTransferFunction_ITU_R_2020, Transfer::bt1886},
    {kCVImageBufferTransferFunction_SMPTE_240M_1995, Transfer::bt1886},
    {kCVImageBufferTransferFunction_UseGamma, Transfer::gamma},
    {kCVImageBufferTransferFunction_Linear, Transfer::linear},
    {kCVImageBufferTransferFunction_sRGB, Transfer::sRGB},
    {kCVImageBufferTransferFunction_SMPTE_ST_2084_PQ, Transfer::pq},
    {kCVImageBufferTransferFunction_SMPTE_ST_428_1, Transfer::dcdm},
    {kCVImageBufferTransferFunction_ITU_R_2100_HLG, Transfer::hlg},
}};

/// A big-endian number of `size` bytes; 0 when the bytes end before it.
double bigEndian(const std::vector<std::uint8_t>& bytes, std::size_t offset, std::size_t size) {
    if (bytes.size() < offset + size) {
        return 0;
    }
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < size; ++i) {
        value = value << 8 | bytes[offset + i];
    }
    return value;
}

double peakOf(const CVPixelBuffer& picture) {
    using Bytes = std::vector<std::uint8_t>;
    double contentPeak = 0;
    double masteringPeak = 0;
    if (const auto* light = picture.attachment<Bytes>(kCVImageBufferContentLightLevelInfoKey)) {
        contentPeak = bigEndian(*light, 0, 2);
    }
    if (const auto* volume =
            picture.attachment<Bytes>(kCVImageBufferMasteringDisplayColorVolumeKey)) {
        masteringPeak = bigEndian(*volume, 16, 4) / 10000;
    }
    double peak = kUsualPQPeak;
    if (contentPeak > 0 && masteringPeak > 0) {
        peak = std::min(contentPeak, masteringPeak);
    } else if (contentPeak > 0 || masteringPeak > 0) {
        peak = std::max(contentPeak, masteringPeak);
    }
    return std::clamp(peak, kReferenceWhite, kHighestPeak);
}

} // namespace

SourceColor sourceColorOf(const CVPixelBuffer& picture) {
    SourceColor color;
    const auto* primaries =
        find(kPrimariesByName, picture.attachment<std::string>(kCVImageBufferColorPrimariesKey));
    const auto* transfer =
        find(kTransferByName, picture.attachment<std::string>(kCVImageBufferTransferFunctionKey));
    if (primaries != nullptr) {
        color.primaries = *primaries;
    }
    if (transfer != nullptr) {
        color.transfer = *transfer;
    } else if (!pixelFormatIsYCbCr(picture.pixelFormat())) {
        color.transfer = Transfer::sRGB;
    }
    if (const auto* gamma = picture.attachment<double>(kCVImageBufferGammaLevelKey);
        gamma != nullptr && std::isfinite(*gamma) && *gamma > 0) {
        color.gamma = *gamma;
    }
    color.luma = lumaWeights(yCbCrMatrixOf(picture));
    if (color.transfer == Transfer::pq) {
        color.peak = peakOf(picture);
    }
    const auto* profile =
        picture.attachment<std::vector<std::uint8_t>>(kCVImageBufferICCProfileKey);
    // Coded HDR also carries a profile, for systems that need one.
    if (profile != nullptr && (primaries == nullptr || transfer == nullptr)) {
        color.iccProfile = *profile;
    }
    return color;
}

double channelToLight(const SourceColor& color, double code) {
    code = std::clamp(code, 0.0, 1.0);
    switch (color.transfer) {
    case Transfer::bt1886:
        return bt1886ToLinear(code);
    case Transfer::gamma:
        return std::pow(code, color.gamma);
    case Transfer::sRGB:
        return sRGBToLinear(code);
    case Transfer::linear:
        return code;
    case Transfer::dcdm:
        return std::min(52.37 / 48 * std::pow(code, 2.6), 1.0);
    case Transfer::pq:
        return toneMap(pqToLuminance(code), color.peak);
    case Transfer::hlg:
        return hlgToSceneLight(code);
    }
    return code;
}

bool keepsCurve(const SourceColor& color) {
    return color.iccProfile.empty() &&
           (color.transfer == Transfer::bt1886 || color.transfer == Transfer::gamma ||
            color.transfer == Transfer::sRGB);
}

double channelFromLight(const SourceColor& color, double light) {
    light = std::clamp(light, 0.0, 1.0);
    switch (color.transfer) {
    case Transfer::bt1886:
        return bt1886FromLinear(light);
    case Transfer::gamma:
        return std::pow(light, 1 / color.gamma);
    default:
        return sRGBFromLinear(light);
    }
}

} // namespace zelvane::raster

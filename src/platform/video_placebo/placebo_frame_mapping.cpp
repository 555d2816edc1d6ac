// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/video_placebo/placebo_frame_mapping.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core_media/ycbcr_matrix.h"

namespace zelvane {
namespace {

template <class Value, std::size_t count>
using Names = std::array<std::pair<std::string_view, Value>, count>;

constexpr Names<pl_color_primaries, 7> kPrimaries{{
    {kCVImageBufferColorPrimaries_ITU_R_709_2, PL_COLOR_PRIM_BT_709},
    // EBU Tech. 3213 has the primaries of the 625-line systems; libplacebo uses its name for the
    // JEDEC phosphors.
    {kCVImageBufferColorPrimaries_EBU_3213, PL_COLOR_PRIM_BT_601_625},
    {kCVImageBufferColorPrimaries_SMPTE_C, PL_COLOR_PRIM_BT_601_525},
    {kCVImageBufferColorPrimaries_ITU_R_2020, PL_COLOR_PRIM_BT_2020},
    {kCVImageBufferColorPrimaries_DCI_P3, PL_COLOR_PRIM_DCI_P3},
    {kCVImageBufferColorPrimaries_P3_D65, PL_COLOR_PRIM_DISPLAY_P3},
    {kCVImageBufferColorPrimaries_P22, PL_COLOR_PRIM_EBU_3213},
}};

constexpr Names<pl_color_transfer, 8> kTransfers{{
    {kCVImageBufferTransferFunction_ITU_R_709_2, PL_COLOR_TRC_BT_1886},
    {kCVImageBufferTransferFunction_ITU_R_2020, PL_COLOR_TRC_BT_1886},
    {kCVImageBufferTransferFunction_SMPTE_240M_1995, PL_COLOR_TRC_BT_1886},
    {kCVImageBufferTransferFunction_Linear, PL_COLOR_TRC_LINEAR},
    {kCVImageBufferTransferFunction_sRGB, PL_COLOR_TRC_SRGB},
    {kCVImageBufferTransferFunction_SMPTE_ST_2084_PQ, PL_COLOR_TRC_PQ},
    {kCVImageBufferTransferFunction_SMPTE_ST_428_1, PL_COLOR_TRC_GAMMA26},
    {kCVImageBufferTransferFunction_ITU_R_2100_HLG, PL_COLOR_TRC_HLG},
}};

constexpr std::array<std::pair<double, pl_color_transfer>, 6> kGammas{{
    {1.8, PL_COLOR_TRC_GAMMA18},
    {2.0, PL_COLOR_TRC_GAMMA20},
    {2.2, PL_COLOR_TRC_GAMMA22},
    {2.4, PL_COLOR_TRC_GAMMA24},
    {2.6, PL_COLOR_TRC_GAMMA26},
    {2.8, PL_COLOR_TRC_GAMMA28},
}};

pl_color_system systemOf(YCbCrMatrix matrix) {
    switch (matrix) {
    case YCbCrMatrix::bt601:
        return PL_COLOR_SYSTEM_BT_601;
    case YCbCrMatrix::smpte240M:
        return PL_COLOR_SYSTEM_SMPTE_240M;
    case YCbCrMatrix::bt2020:
        return PL_COLOR_SYSTEM_BT_2020_NC;
    case YCbCrMatrix::bt709:
        break;
    }
    return PL_COLOR_SYSTEM_BT_709;
}

/// The value for the name in an attachment, or `unknown`.
template <class Value, std::size_t count>
Value named(const CVPixelBuffer& picture, std::string_view key, const Names<Value, count>& names,
            Value unknown) {
    const auto* name = picture.attachment<std::string>(key);
    const auto found = std::find_if(names.begin(), names.end(), [&](const auto& entry) {
        return name != nullptr && entry.first == *name;
    });
    return found == names.end() ? unknown : found->second;
}

pl_color_transfer transferOf(const CVPixelBuffer& picture) {
    const auto* name = picture.attachment<std::string>(kCVImageBufferTransferFunctionKey);
    if (name == nullptr || *name != kCVImageBufferTransferFunction_UseGamma) {
        return named(picture, kCVImageBufferTransferFunctionKey, kTransfers, PL_COLOR_TRC_UNKNOWN);
    }
    const auto* level = picture.attachment<double>(kCVImageBufferGammaLevelKey);
    const double gamma = level == nullptr ? 2.2 : *level;
    return std::min_element(kGammas.begin(), kGammas.end(),
                            [&](const auto& a, const auto& b) {
                                return std::abs(a.first - gamma) < std::abs(b.first - gamma);
                            })
        ->second;
}

std::uint32_t bigEndian(const std::vector<std::uint8_t>& bytes, std::size_t offset,
                        std::size_t size) {
    std::uint32_t value = 0;
    for (std::size_t i = offset; i < offset + size; ++i) {
        value = value << 8 | bytes[i];
    }
    return value;
}

/// Luminances of the picture in cd/m², from the bodies of the SEI messages of SMPTE ST 2086 and
/// CTA-861.3.
pl_hdr_metadata luminancesOf(const CVPixelBuffer& picture) {
    using Bytes = std::vector<std::uint8_t>;
    constexpr float kUnitsPerNit = 10'000;
    // The usual mastering display of pictures without metadata; libplacebo assumes 10 000.
    constexpr float kLikelyPeak = 1'000;
    pl_hdr_metadata metadata{};
    const auto* display = picture.attachment<Bytes>(kCVImageBufferMasteringDisplayColorVolumeKey);
    if (display != nullptr && display->size() >= 24) {
        metadata.max_luma = static_cast<float>(bigEndian(*display, 16, 4)) / kUnitsPerNit;
        metadata.min_luma = static_cast<float>(bigEndian(*display, 20, 4)) / kUnitsPerNit;
    }
    const auto* content = picture.attachment<Bytes>(kCVImageBufferContentLightLevelInfoKey);
    if (content != nullptr && content->size() >= 4) {
        metadata.max_cll = static_cast<float>(bigEndian(*content, 0, 2));
        metadata.max_fall = static_cast<float>(bigEndian(*content, 2, 2));
    }
    // libplacebo's tone mapping uses the display's range only, and pictures rarely fill it.
    if (metadata.max_cll > 0 && (metadata.max_luma <= 0 || metadata.max_cll < metadata.max_luma)) {
        metadata.max_luma = metadata.max_cll;
    }
    if (metadata.max_luma <= metadata.min_luma) {
        metadata.max_luma = kLikelyPeak;
        metadata.min_luma = 0;
    }
    return metadata;
}

pl_color_transfer usualTransfer(const CVPixelBuffer& picture) {
    return pixelFormatIsYCbCr(picture.pixelFormat()) ? PL_COLOR_TRC_BT_1886 : PL_COLOR_TRC_SRGB;
}

bool isSDRCurve(pl_color_transfer transfer) {
    return transfer == PL_COLOR_TRC_BT_1886 || transfer == PL_COLOR_TRC_SRGB ||
           std::any_of(kGammas.begin(), kGammas.end(),
                       [&](const auto& gamma) { return gamma.second == transfer; });
}

void mapColor(const CVPixelBuffer& picture, PlaceboFrameMapping& mapping) {
    mapping.color.primaries =
        named(picture, kCVImageBufferColorPrimariesKey, kPrimaries, PL_COLOR_PRIM_UNKNOWN);
    mapping.color.transfer = transferOf(picture);
    const bool isCoded = mapping.color.primaries != PL_COLOR_PRIM_UNKNOWN &&
                         mapping.color.transfer != PL_COLOR_TRC_UNKNOWN;
    // A profile beside coded values only restates them, with less precision.
    const auto* profile =
        picture.attachment<std::vector<std::uint8_t>>(kCVImageBufferICCProfileKey);
    if (profile != nullptr && !isCoded) {
        mapping.iccProfile = *profile;
    } else if (mapping.color.transfer == PL_COLOR_TRC_UNKNOWN) {
        mapping.color.transfer = usualTransfer(picture);
    }
    if (mapping.color.transfer == PL_COLOR_TRC_PQ) {
        mapping.color.hdr = luminancesOf(picture);
    }
}

void mapRepresentation(const CVPixelBuffer& picture, const PixelFormatDescriptor& format,
                       pl_color_repr& repr) {
    repr.levels = format.isFullRange ? PL_COLOR_LEVELS_FULL : PL_COLOR_LEVELS_LIMITED;
    repr.sys = format.isYCbCr ? systemOf(yCbCrMatrixOf(picture)) : PL_COLOR_SYSTEM_RGB;
}

/// The order of one plane's samples in memory. Sizes in bits; a channel of -1 is skipped.
struct PlaneSamples {
    int bitsPerSample = 8;
    int pixelStride = 1;
    std::array<int, 4> channels{-1, -1, -1, -1};
    /// Bits to skip before each sample.
    std::array<int, 4> skipped{};
};

void addPlane(const CVPixelBuffer::Plane& plane, int width, const PlaneSamples& samples,
              PlaceboFrameMapping& mapping) {
    auto& data = mapping.planes.at(static_cast<std::size_t>(mapping.planeCount++));
    data.type = PL_FMT_UNORM;
    data.width = width;
    data.height = plane.height;
    for (std::size_t i = 0; i < samples.channels.size(); ++i) {
        if (samples.channels.at(i) < 0) {
            break;
        }
        data.component_size[i] = samples.bitsPerSample;
        data.component_pad[i] = samples.skipped.at(i);
        data.component_map[i] = samples.channels.at(i);
    }
    data.pixel_stride = static_cast<std::size_t>(samples.pixelStride);
    data.row_stride = plane.bytesPerRow;
    data.pixels = plane.baseAddress;
}

/// Two views of the same memory: every other byte is luma, and each two pixels share the rest.
void addPacked422(const CVPixelBuffer& picture, bool isLumaFirst, PlaceboFrameMapping& mapping) {
    const auto& plane = picture.plane(0);
    const int lumaLead = isLumaFirst ? 0 : 8;
    addPlane(plane, picture.width(), {8, 2, {PL_CHANNEL_Y, -1, -1, -1}, {lumaLead}}, mapping);
    addPlane(plane, plane.width, {8, 4, {PL_CHANNEL_CB, PL_CHANNEL_CR, -1, -1}, {8 - lumaLead, 8}},
             mapping);
}

void addPlanar420(const CVPixelBuffer& picture, PlaceboFrameMapping& mapping) {
    for (int i = 0; i < 3; ++i) {
        addPlane(picture.plane(i), picture.plane(i).width, {8, 1, {i, -1, -1, -1}, {}}, mapping);
    }
}

void addBiplanar420(const CVPixelBuffer& picture, int bytesPerSample,
                    PlaceboFrameMapping& mapping) {
    const int bits = bytesPerSample * 8;
    addPlane(picture.plane(0), picture.width(),
             {bits, bytesPerSample, {PL_CHANNEL_Y, -1, -1, -1}, {}}, mapping);
    addPlane(picture.plane(1), picture.plane(1).width,
             {bits, 2 * bytesPerSample, {PL_CHANNEL_CB, PL_CHANNEL_CR, -1, -1}, {}}, mapping);
}

bool addPlanes(const CVPixelBuffer& picture, PlaceboFrameMapping& mapping) {
    const auto addPacked = [&](const PlaneSamples& samples) {
        addPlane(picture.plane(0), picture.width(), samples, mapping);
    };
    switch (picture.pixelFormat()) {
    case kCVPixelFormatType_24RGB:
        addPacked({8, 3, {PL_CHANNEL_R, PL_CHANNEL_G, PL_CHANNEL_B, -1}, {}});
        return true;
    case kCVPixelFormatType_32ARGB:
        addPacked({8, 4, {PL_CHANNEL_A, PL_CHANNEL_R, PL_CHANNEL_G, PL_CHANNEL_B}, {}});
        return true;
    case kCVPixelFormatType_32BGRA:
        addPacked({8, 4, {PL_CHANNEL_B, PL_CHANNEL_G, PL_CHANNEL_R, PL_CHANNEL_A}, {}});
        return true;
    case kCVPixelFormatType_4444AYpCbCr16:
        addPacked({16, 8, {PL_CHANNEL_A, PL_CHANNEL_Y, PL_CHANNEL_CB, PL_CHANNEL_CR}, {}});
        return true;
    case kCVPixelFormatType_422YpCbCr8:
        addPacked422(picture, false, mapping);
        return true;
    case kCVPixelFormatType_422YpCbCr8_yuvs:
    case kCVPixelFormatType_422YpCbCr8FullRange:
        addPacked422(picture, true, mapping);
        return true;
    case kCVPixelFormatType_420YpCbCr8Planar:
    case kCVPixelFormatType_420YpCbCr8PlanarFullRange:
        addPlanar420(picture, mapping);
        return true;
    case kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange:
    case kCVPixelFormatType_420YpCbCr8BiPlanarFullRange:
        addBiplanar420(picture, 1, mapping);
        return true;
    case kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange:
    case kCVPixelFormatType_420YpCbCr10BiPlanarFullRange:
        addBiplanar420(picture, 2, mapping);
        return true;
    default:
        return false;
    }
}

/// Sample, significant and shifted bits of a format's samples.
pl_bit_encoding bitsOf(OSType pixelFormat) {
    switch (pixelFormat) {
    case kCVPixelFormatType_4444AYpCbCr16:
        return {16, 16, 0};
    case kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange:
    case kCVPixelFormatType_420YpCbCr10BiPlanarFullRange:
        return {16, 10, 6};
    default:
        return {8, 8, 0};
    }
}

} // namespace

pl_color_space screenColorFor(const pl_color_space& picture) {
    pl_color_space screen = pl_color_space_srgb;
    if (isSDRCurve(picture.transfer)) {
        screen.transfer = picture.transfer;
    }
    return screen;
}

std::optional<PlaceboFrameMapping> placeboFrameMapping(const CVPixelBuffer& picture) {
    const auto* format = pixelFormatDescriptor(picture.pixelFormat());
    PlaceboFrameMapping mapping;
    const bool hasPixels =
        picture.plane(0).baseAddress != nullptr || picture.deviceFrame() != nullptr;
    if (format == nullptr || !hasPixels || !addPlanes(picture, mapping)) {
        return std::nullopt;
    }
    mapRepresentation(picture, *format, mapping.repr);
    mapping.repr.bits = bitsOf(picture.pixelFormat());
    mapColor(picture, mapping);
    // What MPEG-2 and its successors do unless they say otherwise.
    mapping.chromaLocation = mapping.planeCount > 1 ? PL_CHROMA_LEFT : PL_CHROMA_UNKNOWN;
    return mapping;
}

} // namespace zelvane

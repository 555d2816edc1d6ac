// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/color_attachments.h"

#include <algorithm>
#include <array>
#include <span>
#include <string>
#include <string_view>

#include "core_media/hdr_color_spaces.h"
#include "core_media/pixel_format.h"
#include "core_media/ycbcr_matrix.h"

namespace zelvane {
namespace {

std::string_view primariesValue(AVColorPrimaries primaries) {
    switch (primaries) {
    case AVCOL_PRI_BT709:
        return kCVImageBufferColorPrimaries_ITU_R_709_2;
    case AVCOL_PRI_BT470BG:
        return kCVImageBufferColorPrimaries_EBU_3213;
    case AVCOL_PRI_SMPTE170M:
    case AVCOL_PRI_SMPTE240M:
        return kCVImageBufferColorPrimaries_SMPTE_C;
    case AVCOL_PRI_BT2020:
        return kCVImageBufferColorPrimaries_ITU_R_2020;
    case AVCOL_PRI_SMPTE431:
        return kCVImageBufferColorPrimaries_DCI_P3;
    case AVCOL_PRI_SMPTE432:
        return kCVImageBufferColorPrimaries_P3_D65;
    case AVCOL_PRI_JEDEC_P22:
        return kCVImageBufferColorPrimaries_P22;
    default:
        return {};
    }
}

std::string_view transferValue(AVColorTransferCharacteristic transfer) {
    switch (transfer) {
    case AVCOL_TRC_BT709:
    case AVCOL_TRC_SMPTE170M:
    case AVCOL_TRC_IEC61966_2_4:
        return kCVImageBufferTransferFunction_ITU_R_709_2;
    case AVCOL_TRC_GAMMA22:
    case AVCOL_TRC_GAMMA28:
        return kCVImageBufferTransferFunction_UseGamma;
    case AVCOL_TRC_SMPTE240M:
        return kCVImageBufferTransferFunction_SMPTE_240M_1995;
    case AVCOL_TRC_LINEAR:
        return kCVImageBufferTransferFunction_Linear;
    case AVCOL_TRC_IEC61966_2_1:
        return kCVImageBufferTransferFunction_sRGB;
    case AVCOL_TRC_BT2020_10:
    case AVCOL_TRC_BT2020_12:
        return kCVImageBufferTransferFunction_ITU_R_2020;
    case AVCOL_TRC_SMPTE2084:
        return kCVImageBufferTransferFunction_SMPTE_ST_2084_PQ;
    case AVCOL_TRC_SMPTE428:
        return kCVImageBufferTransferFunction_SMPTE_ST_428_1;
    case AVCOL_TRC_ARIB_STD_B67:
        return kCVImageBufferTransferFunction_ITU_R_2100_HLG;
    default:
        return {};
    }
}

std::optional<double> gammaValue(AVColorTransferCharacteristic transfer) {
    switch (transfer) {
    case AVCOL_TRC_GAMMA22:
        return 2.2;
    case AVCOL_TRC_GAMMA28:
        return 2.8;
    default:
        return std::nullopt;
    }
}

std::string_view matrixValue(AVColorSpace matrix) {
    switch (matrix) {
    case AVCOL_SPC_BT709:
        return kCVImageBufferYCbCrMatrix_ITU_R_709_2;
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M:
        return kCVImageBufferYCbCrMatrix_ITU_R_601_4;
    case AVCOL_SPC_SMPTE240M:
        return kCVImageBufferYCbCrMatrix_SMPTE_240M_1995;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
        return kCVImageBufferYCbCrMatrix_ITU_R_2020;
    default:
        return {};
    }
}

void set(CVAttachments& attachments, std::string_view key, CVAttachmentValue value) {
    attachments.insert_or_assign(std::string(key), std::move(value));
}

/// Primaries, transfer and, unless empty, matrix, with their colour space. None where they do not
/// define one.
std::optional<CVAttachments> attachmentsOfValues(std::string_view primaries,
                                                 std::string_view transfer, std::string_view matrix,
                                                 std::optional<double> gamma) {
    CVAttachments made;
    set(made, kCVImageBufferColorPrimariesKey, std::string(primaries));
    set(made, kCVImageBufferTransferFunctionKey, std::string(transfer));
    if (gamma) {
        set(made, kCVImageBufferGammaLevelKey, *gamma);
    }
    if (!matrix.empty()) {
        set(made, kCVImageBufferYCbCrMatrixKey, std::string(matrix));
    }
    auto colorSpace = hdrColorSpace(primaries, transfer);
    if (colorSpace != nullptr) {
        set(made, kCVImageBufferICCProfileKey, colorSpace->iccData());
    } else {
        colorSpace = CGColorSpace::createWithCodedValues(
            std::string(primaries), std::string(transfer), std::string(matrix), gamma);
    }
    if (colorSpace == nullptr) {
        return std::nullopt;
    }
    set(made, kCVImageBufferCGColorSpaceKey, std::move(colorSpace));
    set(made, kDidConfigureColorSpaceKey, true);
    return made;
}

bool isP3Preset(std::string_view primaries, std::string_view transfer) {
    return primaries == kCVImageBufferColorPrimaries_P3_D65 &&
           hdrColorSpace(primaries, transfer) != nullptr;
}

/// One row of the rule by size, made once.
struct SizeRow {
    SizeRow(std::string_view matrix, std::string_view transfer, std::string_view primaries)
        : attachments(attachmentsOfValues(primaries, transfer, matrix, std::nullopt).value()) {}
    CVAttachments attachments;
};

std::string_view valueOf(const CVAttachments& attachments, std::string_view key) {
    const auto found = attachments.find(key);
    return found == attachments.end() ? std::string_view()
                                      : std::string_view(std::get<std::string>(found->second));
}

/// A profile describes R'G'B' only: the matrix is still that of the code points.
void applyProfile(CVPixelBuffer& pixelBuffer, CGColorSpaceRef colorSpace,
                  const CodedColors& colors) {
    CVAttachments attachments;
    set(attachments, kCVImageBufferICCProfileKey, colorSpace->iccData());
    set(attachments, kCVImageBufferCGColorSpaceKey, std::move(colorSpace));
    set(attachments, kDidConfigureColorSpaceKey, true);
    if (pixelFormatIsYCbCr(pixelBuffer.pixelFormat())) {
        const auto matrix =
            yCbCrMatrixName(matrixValue(colors.matrix), primariesValue(colors.primaries),
                            pixelBuffer.width(), pixelBuffer.height());
        set(attachments, kCVImageBufferYCbCrMatrixKey, std::string(matrix));
    }
    applyColorAttachments(pixelBuffer, attachments);
}

} // namespace

std::optional<CVAttachments> colorAttachments(const CodedColors& colors, OSType pixelFormat) {
    const auto primaries = primariesValue(colors.primaries);
    const auto transfer = transferValue(colors.transfer);
    if (primaries.empty() || transfer.empty()) {
        return std::nullopt;
    }
    auto matrix = matrixValue(colors.matrix);
    if (matrix.empty() && pixelFormatIsYCbCr(pixelFormat) && isP3Preset(primaries, transfer)) {
        matrix = kCVImageBufferYCbCrMatrix_P3_D65;
    }
    return attachmentsOfValues(primaries, transfer, matrix, gammaValue(colors.transfer));
}

const CVAttachments& colorAttachmentsForSize(int width, int height, bool isYCbCr) {
    static const SizeRow rgb{
        {}, kCVImageBufferTransferFunction_sRGB, kCVImageBufferColorPrimaries_P22};
    static const SizeRow highDefinition{kCVImageBufferYCbCrMatrix_ITU_R_709_2,
                                        kCVImageBufferTransferFunction_ITU_R_709_2,
                                        kCVImageBufferColorPrimaries_ITU_R_709_2};
    static const SizeRow ultraHighDefinition{kCVImageBufferYCbCrMatrix_ITU_R_2020,
                                             kCVImageBufferTransferFunction_ITU_R_2020,
                                             kCVImageBufferColorPrimaries_ITU_R_2020};
    static const SizeRow lines625{kCVImageBufferYCbCrMatrix_ITU_R_601_4,
                                  kCVImageBufferTransferFunction_ITU_R_709_2,
                                  kCVImageBufferColorPrimaries_EBU_3213};
    static const SizeRow lines525{kCVImageBufferYCbCrMatrix_ITU_R_601_4,
                                  kCVImageBufferTransferFunction_ITU_R_709_2,
                                  kCVImageBufferColorPrimaries_SMPTE_C};
    if (!isYCbCr) {
        return rgb.attachments;
    }
    if (width >= 3840) {
        return ultraHighDefinition.attachments;
    }
    if (width >= 1280) {
        return highDefinition.attachments;
    }
    return height >= 484 ? lines625.attachments : lines525.attachments;
}

CVAttachments colorAttachmentsOrUsual(const CodedColors& colors, OSType pixelFormat, int width,
                                      int height) {
    if (auto stated = colorAttachments(colors, pixelFormat)) {
        return *std::move(stated);
    }
    const bool isYCbCr = pixelFormatIsYCbCr(pixelFormat);
    const auto& usual = colorAttachmentsForSize(width, height, isYCbCr);
    const auto matrix = matrixValue(colors.matrix);
    if (!isYCbCr || matrix.empty()) {
        return usual;
    }
    return attachmentsOfValues(valueOf(usual, kCVImageBufferColorPrimariesKey),
                               valueOf(usual, kCVImageBufferTransferFunctionKey), matrix,
                               std::nullopt)
        .value();
}

void applyColorAttachments(CVPixelBuffer& pixelBuffer, const CVAttachments& attachments) {
    for (const auto key : {kCVImageBufferCGColorSpaceKey, kCVImageBufferICCProfileKey,
                           kCVImageBufferYCbCrMatrixKey, kCVImageBufferColorPrimariesKey,
                           kCVImageBufferTransferFunctionKey, kCVImageBufferGammaLevelKey}) {
        pixelBuffer.removeAttachment(key);
    }
    pixelBuffer.setAttachments(attachments);
}

void FrameColorConfigurator::configure(CVPixelBuffer& pixelBuffer, const AVFrame& frame) {
    const auto* profile = av_frame_get_side_data(&frame, AV_FRAME_DATA_ICC_PROFILE);
    if (profile != nullptr && profile->size > 0) {
        if (auto colorSpace = colorSpaceOfProfile(*profile)) {
            applyProfile(pixelBuffer, std::move(colorSpace), CodedColors::of(frame));
            return;
        }
    }
    const bool* isConfigured = pixelBuffer.attachment<bool>(kDidConfigureColorSpaceKey);
    if (isConfigured != nullptr && *isConfigured) {
        return;
    }
    applyColorAttachments(pixelBuffer,
                          colorAttachmentsOrUsual(CodedColors::of(frame), pixelBuffer.pixelFormat(),
                                                  pixelBuffer.width(), pixelBuffer.height()));
}

CGColorSpaceRef FrameColorConfigurator::colorSpaceOfProfile(const AVFrameSideData& profile) {
    const std::span<const std::uint8_t> bytes(profile.data, profile.size);
    const bool isLast = lastProfile_ != nullptr &&
                        std::equal(bytes.begin(), bytes.end(), lastProfile_->iccData().begin(),
                                   lastProfile_->iccData().end());
    if (!isLast) {
        lastProfile_ = CGColorSpace::createWithICCData(bytes);
    }
    return lastProfile_;
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "core_media/cv_pixel_buffer.h"
#include "core_media/ffmpeg.h"

namespace zelvane {

/// How a stream or a frame codes its colours: code points of ITU-T H.273.
struct CodedColors {
    AVColorSpace matrix = AVCOL_SPC_UNSPECIFIED;
    AVColorPrimaries primaries = AVCOL_PRI_UNSPECIFIED;
    AVColorTransferCharacteristic transfer = AVCOL_TRC_UNSPECIFIED;

    /// The code points of a frame or an opened decoder; an invalid value counts as unspecified.
    template <class Described>
    static CodedColors of(const Described& described) {
        return {ffmpeg::knownValue(described.colorspace, AVCOL_SPC_NB, AVCOL_SPC_UNSPECIFIED),
                ffmpeg::knownValue(described.color_primaries, AVCOL_PRI_NB, AVCOL_PRI_UNSPECIFIED),
                ffmpeg::knownValue(described.color_trc, AVCOL_TRC_NB, AVCOL_TRC_UNSPECIFIED)};
    }

    friend bool operator==(const CodedColors&, const CodedColors&) = default;
};

/// The attachments for the code points. None unless both primaries and transfer are known; the
/// matrix may be missing.
std::optional<CVAttachments> colorAttachments(const CodedColors& colors, OSType pixelFormat);

/// The usual colours of a picture that states none: BT.709 for high definition, BT.2020 for ultra
/// high definition, and by the number of lines for standard definition.
const CVAttachments& colorAttachmentsForSize(int width, int height, bool isYCbCr);

/// The colours of a picture of those code points and that size: colorAttachments(), or else the
/// usual ones for the size, with the stated matrix if there is one: cameras often state nothing
/// else.
CVAttachments colorAttachmentsOrUsual(const CodedColors& colors, OSType pixelFormat, int width,
                                      int height);

/// Removes all attachments that describe colour, then sets `attachments`.
void applyColorAttachments(CVPixelBuffer& pixelBuffer, const CVAttachments& attachments);

/// Sets the colours of pixel buffers from their frames: from the ICC profile and the matrix of the
/// frame; without a profile, from its code points and its size, unless the buffer has colours
/// already. Caches the last profile, since all frames of an animation carry the same. One thread.
class FrameColorConfigurator {
  public:
    void configure(CVPixelBuffer& pixelBuffer, const AVFrame& frame);

  private:
    CGColorSpaceRef colorSpaceOfProfile(const AVFrameSideData& profile);

    CGColorSpaceRef lastProfile_;
};

} // namespace zelvane

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

    /// Those of a frame or an opened decoder; what is no code point counts as unspecified.
    template <class Described>
    static CodedColors of(const Described& described) {
        return {ffmpeg::knownValue(described.colorspace, AVCOL_SPC_NB, AVCOL_SPC_UNSPECIFIED),
                ffmpeg::knownValue(described.color_primaries, AVCOL_PRI_NB, AVCOL_PRI_UNSPECIFIED),
                ffmpeg::knownValue(described.color_trc, AVCOL_TRC_NB, AVCOL_TRC_UNSPECIFIED)};
    }

    friend bool operator==(const CodedColors&, const CodedColors&) = default;
};

/// The attachments that say the same as the code points. None unless both primaries and transfer
/// are known; the matrix may be missing.
std::optional<CVAttachments> colorAttachments(const CodedColors& colors, OSType pixelFormat);

/// What a picture most likely means that states nothing usable: high definition is BT.709, ultra
/// high definition BT.2020, and standard definition goes by its number of lines.
const CVAttachments& colorAttachmentsForSize(int width, int height, bool isYCbCr);

/// Takes away all that was said about colour before, then sets `attachments`.
void applyColorAttachments(CVPixelBuffer& pixelBuffer, const CVAttachments& attachments);

/// Decides the colours of pixel buffers from their frames: by an ICC profile that the frame
/// carries, else not at all where that is done already, else by its code points, else by its size.
/// Remembers the last profile, since each frame of an animation or a still carries the same. One
/// thread.
class FrameColorConfigurator {
  public:
    void configure(CVPixelBuffer& pixelBuffer, const AVFrame& frame);

  private:
    CGColorSpaceRef colorSpaceOfProfile(const AVFrameSideData& profile);

    CGColorSpaceRef lastProfile_;
};

} // namespace zelvane

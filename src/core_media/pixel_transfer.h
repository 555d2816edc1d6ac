// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core_media/cv_pixel_buffer.h"

namespace zelvane {

/// No way from the format or the place of the one buffer to those of the other.
inline constexpr OSStatus kVTPixelTransferNotSupportedErr = -12905;

/// Turns the picture of one buffer into the format of another, by the matrix that the attachments
/// of the source state: R'G'B' come out with the primaries and the transfer function that the
/// picture had. Without a stated matrix, the picture's size tells it. Chroma is taken to lie on the
/// even columns and between the rows, where MPEG-2 and nearly all that came after put it. Any
/// thread; the buffers are the caller's.
class PixelTransferSession {
  public:
    /// From "420v" or "420f", in memory or on a device, to "BGRA" or "b64a" of the same size.
    OSStatus transferImage(const CVPixelBuffer& source, CVPixelBuffer& destination) const;
};

/// A picture on a device, brought to memory with all its attachments. Null when the device fails or
/// lays out its memory as no pixel format does.
CVPixelBufferRef pixelBufferInMemory(const CVPixelBuffer& onDevice);

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core_media/cv_pixel_buffer.h"

namespace zelvane {

/// The session does not convert between the formats, sizes or places of the two buffers.
inline constexpr OSStatus kVTPixelTransferNotSupportedErr = -12905;

/// Converts the picture of one buffer to the format of another with the matrix of yCbCrMatrixOf().
/// R'G'B' keep the primaries and the transfer function of the picture. Chroma is sited on the even
/// columns and between the rows, as in MPEG-2 and nearly all later codecs. Any thread; the caller
/// owns the buffers.
class PixelTransferSession {
  public:
    /// From "420v" or "420f" to "BGRA" or "b64a" of the same size, both in memory; throws
    /// SystemError kVTPixelTransferNotSupportedErr for all else.
    void transferImage(const CVPixelBuffer& source, CVPixelBuffer& destination) const;
};

} // namespace zelvane

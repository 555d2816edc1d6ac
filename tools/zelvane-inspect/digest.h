// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "core_media/cm_sample_buffer.h"
#include "core_media/ffmpeg.h"

namespace zelvane::inspect {

/// SHA-256 (FIPS 180-4) of bytes that are added in parts.
class Digest {
  public:
    Digest();
    void add(std::span<const std::uint8_t> bytes);
    /// The digest in lower-case hex. May be called once.
    std::string finish();

  private:
    struct Free {
        void operator()(AVSHA* context) const;
    };
    std::unique_ptr<AVSHA, Free> context_;
};

std::string hexText(std::span<const std::uint8_t> bytes);

/// The digest of the visible bytes of each plane, row by row, without row padding. A picture on a
/// device is downloaded first. Throws FFmpegError or SystemError.
std::string pictureDigest(const CVPixelBuffer& pixelBuffer);

/// The digest of all blocks.
std::string dataDigest(const CMBlockBuffer& data);

} // namespace zelvane::inspect

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "core_media/cm_sample_buffer.h"

extern "C" {
#include <libavutil/sha.h>
}

namespace zelvane::inspect {

/// SHA-256 (FIPS 180-4) of bytes given in pieces.
class Digest {
  public:
    Digest();
    void add(std::span<const std::uint8_t> bytes);
    /// In lower-case hex. Once.
    std::string finish();

  private:
    struct Free {
        void operator()(AVSHA* context) const;
    };
    std::unique_ptr<AVSHA, Free> context_;
};

std::string hexText(std::span<const std::uint8_t> bytes);

/// Of the visible bytes of each plane, row by row, without the padding of rows. A picture on a
/// device is brought to memory first. Throws FFmpegError or SystemError.
std::string pictureDigest(const CVPixelBuffer& pixelBuffer);

/// Of all bytes of a chain.
std::string dataDigest(const CMBlockBuffer& data);

} // namespace zelvane::inspect

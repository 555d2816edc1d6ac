// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "core_media/ffmpeg.h"

namespace zelvane {

/// A still picture: rows from top to bottom without padding, 8 bits each of red, green, blue and
/// alpha, which is not multiplied into the colours. Immutable; shared between threads.
struct Image {
    int width = 0;
    int height = 0;
    /// What it was encoded as: "JPEG", "PNG", "GIF", "BMP" or "WebP".
    std::string format;
    std::vector<std::uint8_t> pixels;
};

using ImageRef = std::shared_ptr<const Image>;

/// More pixels than this make no image: a few hundred bytes could ask for gigabytes.
inline constexpr std::int64_t kMaxImagePixelCount = std::int64_t{32} << 20;

/// Decodes a picture file that lies in a packet. What it is told by its first bytes alone; the
/// first picture counts where there are several. Null for other formats, for pictures that are too
/// large, and for what cannot be decoded. Any thread.
ImageRef decodeImage(const AVPacket& file);

} // namespace zelvane

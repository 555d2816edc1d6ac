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
    /// The format of the file: "JPEG", "PNG", "GIF", "BMP" or "WebP".
    std::string format;
    std::vector<std::uint8_t> pixels;
};

using ImageRef = std::shared_ptr<const Image>;

/// Pictures with more pixels are refused: a file of a few hundred bytes could request gigabytes.
inline constexpr std::int64_t kMaxImagePixelCount = std::int64_t{32} << 20;

/// Decodes the picture file in a packet. Its first bytes alone decide its format; of several
/// pictures the first is decoded. Null for other formats, for pictures that are too large, and
/// where decoding fails. Any thread.
ImageRef decodeImage(const AVPacket& file);

} // namespace zelvane

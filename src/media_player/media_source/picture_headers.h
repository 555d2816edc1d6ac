// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "core_media/ffmpeg_handles.h"

namespace zelvane {

/// How the pictures of a file are coded, as the header of each stream's first one tells it. Probing
/// decodes that picture to know the same, a tenth of a second for a large one; here the decoder is
/// stopped when it has read the header and asks for memory.
///
/// For VP9, and for H.264 in movie files, which say themselves how far pictures are out of order.
/// Elsewhere the header of the file or of the stream tells enough, or probing learns that order,
/// and the times that follow from it, from what it decodes.
class PictureHeaders {
  public:
    /// Whether an open, unprobed demuxer has streams for which they save anything.
    static bool areWorthReading(const AVFormatContext& context);

    /// Reads a second demuxer of the same file, open and unprobed, up to the first pictures. What
    /// cannot be read is left for probing to find.
    explicit PictureHeaders(AVFormatContext& context);

    /// Tells the first demuxer, so that probing need not decode what is known. It may have to be
    /// kept from it: allowAllDecoders() afterwards.
    void tell(AVFormatContext& context) const;

  private:
    void readUpToPictures(AVFormatContext& context);
    const AVCodecParameters* parametersOf(const AVStream& stream) const;

    /// By stream; null where nothing is known.
    std::vector<ffmpeg::CodecParameters> parameters_;
};

} // namespace zelvane

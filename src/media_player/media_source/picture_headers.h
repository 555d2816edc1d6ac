// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "core_media/ffmpeg_handles.h"

namespace zelvane {

/// The coding parameters of a file's pictures, read from the header of each stream's first picture.
/// Probing decodes that picture to get the same parameters, which takes a tenth of a second for a
/// large one; this class stops the decoder when it has read the header and requests memory.
///
/// It applies to VP9, and to H.264 in movie files, which state how far pictures are reordered. In
/// other files the header of the file or of the stream is sufficient, or probing derives the
/// reordering, and from it the times, from decoded pictures.
class PictureHeaders {
  public:
    /// Whether an open, unprobed demuxer has streams for which reading the headers saves time.
    static bool areWorthReading(const AVFormatContext& context);

    /// Reads a second demuxer of the same file, open and unprobed, up to the first pictures.
    /// Streams whose header cannot be read are left to probing.
    explicit PictureHeaders(AVFormatContext& context);

    /// Sets the parameters on the first demuxer, so that probing need not decode those pictures. It
    /// may exclude decoders from probing: call allowAllDecoders() afterwards.
    void applyTo(AVFormatContext& context) const;

  private:
    void readUpToPictures(AVFormatContext& context);
    const AVCodecParameters* parametersOf(const AVStream& stream) const;

    /// By stream; null if unknown.
    std::vector<ffmpeg::CodecParameters> parameters_;
};

} // namespace zelvane

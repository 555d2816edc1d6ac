// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The only file that includes FFmpeg's C headers and depends on their versions.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/avutil.h>
#include <libavutil/buffer.h>
#include <libavutil/channel_layout.h>
#include <libavutil/dict.h>
#include <libavutil/display.h>
#include <libavutil/hwcontext.h>
#include <libavutil/hwcontext_drm.h>
#include <libavutil/imgutils.h>
#include <libavutil/mastering_display_metadata.h>
#include <libavutil/mem.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libavutil/samplefmt.h>
#include <libavutil/sha.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#if LIBAVCODEC_VERSION_INT < AV_VERSION_INT(59, 37, 100)
#error "FFmpeg 5.1 or later is needed"
#endif

namespace zelvane::ffmpeg {

/// How long a decoded frame lasts, in the units of its packets' time base; 0 when unknown.
inline std::int64_t frameDuration(const AVFrame& frame) {
#if LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(57, 30, 100)
    return frame.duration;
#else
    return frame.pkt_duration;
#endif
}

/// The value of one of FFmpeg's enumerations, or `otherwise` where it is invalid: demuxers pass on
/// numbers from the file, and using such a number as an enumerator is undefined. Valid values are
/// below `end`.
template <class Enum>
Enum knownValue(const Enum& value, Enum end, Enum otherwise) {
    unsigned raw = 0;
    static_assert(sizeof(raw) == sizeof(value));
    std::memcpy(&raw, &value, sizeof(raw));
    return raw < static_cast<unsigned>(end) ? static_cast<Enum>(raw) : otherwise;
}

/// The range that a frame or a decoder states.
template <class Described>
AVColorRange colorRangeOf(const Described& described) {
    return knownValue(described.color_range, AVCOL_RANGE_NB, AVCOL_RANGE_UNSPECIFIED);
}

/// The container's side data of a stream; empty when there is none of that type. The bytes belong
/// to the stream.
inline std::span<const std::uint8_t> streamSideData(const AVStream& stream,
                                                    AVPacketSideDataType type) {
#if LIBAVFORMAT_VERSION_INT >= AV_VERSION_INT(60, 15, 100)
    const auto* found = av_packet_side_data_get(stream.codecpar->coded_side_data,
                                                stream.codecpar->nb_coded_side_data, type);
    return found == nullptr ? std::span<const std::uint8_t>()
                            : std::span<const std::uint8_t>(found->data, found->size);
#else
    std::size_t size = 0;
    const std::uint8_t* data = av_stream_get_side_data(&stream, type, &size);
    return data == nullptr ? std::span<const std::uint8_t>()
                           : std::span<const std::uint8_t>(data, size);
#endif
}

} // namespace zelvane::ffmpeg

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core_media/ffmpeg_handles.h"
#include "media_player/decoders/common/packet.h"

// What all decoders over libavcodec share. Each context is used by one thread at a time.

namespace zelvane {

/// A context for a stream's parameters, not yet open. Times of its packets are in units of
/// `streamTimeBase`. Throws FFmpegError.
ffmpeg::CodecContext makeDecoderContext(const AVCodecParameters& parameters, const AVCodec* codec,
                                        AVRational streamTimeBase);

/// Throws FFmpegError.
void openDecoder(const AVCodec* codec, AVCodecContext& context);

/// Offers a packet. False: dequeue the decoder's output first, then offer the packet again. Also
/// true for a decoder that is at the end already. Throws FFmpegError.
bool startDecoding(const Packet& packet, AVCodecContext& context);

/// Moves the next finished frame into `frame`. False if there is none now, or no more.
/// Throws FFmpegError.
bool dequeue(AVCodecContext& context, AVFrame& frame);

/// The decoder of a stream that has to be of `mediaType`. Throws unsupportedMediaType for one of
/// another kind, decoderNotFound when the library has none.
const AVCodec* findDecoder(const AVCodecParameters& parameters, AVMediaType mediaType);

} // namespace zelvane

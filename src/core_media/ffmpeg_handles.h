// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "core_media/ffmpeg.h"
#include "foundation/release.h"

namespace zelvane::ffmpeg {

using BufferPool = std::unique_ptr<AVBufferPool, ReleaseByAddress<av_buffer_pool_uninit>>;
using BufferRef = std::unique_ptr<AVBufferRef, ReleaseByAddress<av_buffer_unref>>;
using CodecContext = std::unique_ptr<AVCodecContext, ReleaseByAddress<avcodec_free_context>>;
using CodecParameters =
    std::unique_ptr<AVCodecParameters, ReleaseByAddress<avcodec_parameters_free>>;
using Dictionary = std::unique_ptr<AVDictionary, ReleaseByAddress<av_dict_free>>;
using Frame = std::unique_ptr<AVFrame, ReleaseByAddress<av_frame_free>>;
/// A demuxer whose input is open.
using InputContext = std::unique_ptr<AVFormatContext, ReleaseByAddress<avformat_close_input>>;
using AVPacketHandle = std::unique_ptr<AVPacket, ReleaseByAddress<av_packet_free>>;
using Parser = std::unique_ptr<AVCodecParserContext, Release<av_parser_close>>;
using Resampler = std::unique_ptr<SwrContext, ReleaseByAddress<swr_free>>;
using Scaler = std::unique_ptr<SwsContext, Release<sws_freeContext>>;

/// Empties a frame that is reused, at the end of a scope.
class FrameContents {
  public:
    explicit FrameContents(AVFrame& frame) : frame_(frame) {}
    ~FrameContents() { av_frame_unref(&frame_); }
    FrameContents(const FrameContents&) = delete;
    FrameContents& operator=(const FrameContents&) = delete;

  private:
    AVFrame& frame_;
};

} // namespace zelvane::ffmpeg

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "core_media/ffmpeg.h"

namespace zelvane::ffmpeg {

template <auto freeByAddress>
struct FreeByAddress {
    template <class Object>
    void operator()(Object* object) const {
        freeByAddress(&object);
    }
};

template <auto freeObject>
struct FreeObject {
    template <class Object>
    void operator()(Object* object) const {
        freeObject(object);
    }
};

using BufferPool = std::unique_ptr<AVBufferPool, FreeByAddress<av_buffer_pool_uninit>>;
using BufferRef = std::unique_ptr<AVBufferRef, FreeByAddress<av_buffer_unref>>;
using CodecContext = std::unique_ptr<AVCodecContext, FreeByAddress<avcodec_free_context>>;
using CodecParameters = std::unique_ptr<AVCodecParameters, FreeByAddress<avcodec_parameters_free>>;
using Dictionary = std::unique_ptr<AVDictionary, FreeByAddress<av_dict_free>>;
using Frame = std::unique_ptr<AVFrame, FreeByAddress<av_frame_free>>;
/// A demuxer whose input is open.
using InputContext = std::unique_ptr<AVFormatContext, FreeByAddress<avformat_close_input>>;
using AVPacketHandle = std::unique_ptr<AVPacket, FreeByAddress<av_packet_free>>;
using Resampler = std::unique_ptr<SwrContext, FreeByAddress<swr_free>>;
using Scaler = std::unique_ptr<SwsContext, FreeObject<sws_freeContext>>;

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

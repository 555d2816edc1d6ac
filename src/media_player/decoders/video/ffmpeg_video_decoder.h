// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>

#include "core_media/ffmpeg_handles.h"
#include "media_player/decoders/common/frame_timestamps.h"
#include "media_player/decoders/common/media_decoder.h"
#include "media_player/decoders/common/media_type.h"
#include "media_player/decoders/video/picture_allocator.h"
#include "media_player/decoders/video/search_context.h"
#include "media_player/decoders/video/video_decoding_hardware.h"
#include "media_player/decoders/video/video_frame_packager.h"

namespace zelvane {

/// How many threads a video decoder uses on a machine with so many processors.
int videoDecoderThreadCount(int processorCount);
/// How many it uses during a search, when the clock is stopped, for pictures of this size in
/// pixels.
int searchThreadCount(int processorCount, int width, int height);

/// Decodes a video stream into sample buffers of one picture each, in a pixel format and with
/// colour attachments that the display takes. Keeps two contexts: one in software, and one on the
/// machine's decoding hardware where there is any. Used by one queue at a time.
///
///     hardware  --- 11 failures in a row --->  software, for good
///
/// The software context then starts in mid-stream: artefacts up to the next key frame are accepted.
class FFmpegVideoDecoder final : public CoreMediaCompatibleDecoder {
  public:
    /// Throws unsupportedMediaType for a stream of another kind or an attached picture,
    /// decoderNotFound, or what opening the decoder throws.
    explicit FFmpegVideoDecoder(const AVStream& stream);
    FFmpegVideoDecoder(const AVStream& stream, VideoDecodingHardware& hardware);

    MediaType mediaType() const { return MediaType::video; }
    /// The context in use.
    const AVCodecContext& decoderContext() const { return *decoderContext_; }
    bool isUsingHardwareContext() const { return decoderContext_ == hardwareDecoderContext_.get(); }
    int failedHardwareDecodeCount() const { return failedHardwareDecodeCount_; }

    bool startDecoding(const Packet& packet) override;
    CMSampleBufferRef dequeueSampleBuffer() override;
    void flush() override;
    void beginSearch() override;
    void endSearch() override { searching_.endSearch(); }
    bool isClean() const override;
    void setEarliestWantedTime(const std::optional<CMTime>& time) override {
        earliestWantedTime_ = time;
    }

  private:
    bool isUnwanted(const AVFrame& frame) const;
    bool isUnwanted(std::int64_t presentationStamp) const;
    CMSampleBufferRef dequeueNextFrame();
    CMSampleBufferRef makeSampleBuffer(const AVFrame& frame);
    void noteEnd(const CMTime& time);
    void countFailure();
    bool dequeueFrame();
    void reopen();

    AVRational streamTimeBase_;
    /// The contexts have its address.
    std::unique_ptr<PictureAllocator> pictures_ = std::make_unique<PictureAllocator>();
    ffmpeg::CodecContext softwareDecoderContext_;
    /// Null where no hardware device could be made.
    ffmpeg::CodecContext hardwareDecoderContext_;
    /// One of the two.
    AVCodecContext* decoderContext_;
    SearchContext searching_;
    /// In a row.
    int failedHardwareDecodeCount_ = 0;
    /// The one output frame, reused.
    ffmpeg::Frame decodedFrame_;
    VideoFramePackager packager_;
    FrameTimestamps timestamps_;
    /// Since the last flush.
    bool hasGivenKeyframe_ = false;
    std::optional<CMTime> earliestWantedTime_;
};

} // namespace zelvane

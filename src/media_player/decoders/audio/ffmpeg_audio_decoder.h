// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <exception>
#include <memory>
#include <optional>

#include "core_media/ffmpeg_handles.h"
#include "media_player/decoders/audio/audio_properties.h"
#include "media_player/decoders/audio/audio_sample_buffer_builder.h"
#include "media_player/decoders/audio/sample_grid.h"
#include "media_player/decoders/common/frame_timestamps.h"
#include "media_player/decoders/common/media_decoder.h"
#include "media_player/decoders/common/media_type.h"

namespace zelvane {

/// Decodes an audio stream into buffers of up to about a second of interleaved PCM: few buffers are
/// less work to schedule. Their times have no gaps where the container's stamps are coarser than a
/// sample. A jump in exact stamps, or a change of format, starts a new buffer. Frames without a
/// time get it from the next frame that has one. Used by one queue at a time.
class FFmpegAudioDecoder final : public CoreMediaCompatibleDecoder {
  public:
    /// Throws unsupportedMediaType or decoderNotFound, or what opening the decoder throws.
    explicit FFmpegAudioDecoder(const AVStream& stream);

    MediaType mediaType() const { return MediaType::audio; }
    const AVCodecContext& decoderContext() const { return *decoderContext_; }
    /// The properties of the last decoded frame.
    const AudioProperties& audioProperties() const { return *audioProperties_; }

    bool startDecoding(const Packet& packet) override;
    CMSampleBufferRef dequeueSampleBuffer() override;
    void flush() override;

  private:
    CMSampleBufferRef dequeueGatheredFrames();
    CMSampleBufferRef gather(const AVFrame& frame);
    bool adoptFormat(const AVFrame& frame);
    std::optional<CMTime> presentationTimestamp(const AVFrame& frame) const;
    bool beginsAfterGap(const std::optional<CMTime>& timestamp) const;
    void place(const CMTime& time);
    std::unique_ptr<AudioSampleBufferBuilder> makeBuilder();
    CMSampleBufferRef closeBuilder();

    ffmpeg::CodecContext decoderContext_;
    AVRational streamTimeBase_;
    SampleGrid sampleGrid_;
    /// Has a value after construction.
    std::optional<AudioProperties> audioProperties_;
    /// Of all buffers until the next change: a guessed layout is logged once.
    SampleBufferFormat sampleBufferFormat_;
    /// The one output frame, reused.
    ffmpeg::Frame ffmpegSampleBuffer_;
    FrameTimestamps timestamps_;
    std::unique_ptr<AudioSampleBufferBuilder> sampleBufferBuilder_;
    /// The failure that came after the last delivered buffer.
    std::exception_ptr heldFailure_;
    /// The decoder has had no packet since it was opened or flushed.
    bool isFresh_ = true;
    /// The stream has ended: deliver the gathered frames at once.
    bool forceDequeueSampleBuffer_ = false;
};

} // namespace zelvane

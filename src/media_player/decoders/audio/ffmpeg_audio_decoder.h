// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <exception>
#include <memory>
#include <optional>

#include "core_media/ffmpeg_handles.h"
#include "media_player/decoders/audio/audio_properties.h"
#include "media_player/decoders/audio/audio_sample_buffer_builder.h"
#include "media_player/decoders/audio/sample_grid.h"
#include "media_player/decoders/common/media_decoder.h"
#include "media_player/decoders/common/media_type.h"

namespace zelvane {

/// Decodes an audio stream into buffers of up to about a second of interleaved PCM: few buffers are
/// less work for whoever schedules them. Their times have no gaps where the container's stamps are
/// coarser than a sample; a jump in exact stamps, or a change of format, begins a new buffer.
/// Used by one queue at a time.
class FFmpegAudioDecoder final : public CoreMediaCompatibleDecoder {
  public:
    /// Throws unsupportedMediaType or decoderNotFound, or what opening the decoder throws.
    explicit FFmpegAudioDecoder(const AVStream& stream);

    MediaType mediaType() const { return MediaType::audio; }
    const AVCodecContext& decoderContext() const { return *decoderContext_; }
    /// Those of the last frame that was decoded.
    const AudioProperties& audioProperties() const { return *audioProperties_; }

    bool startDecoding(const Packet& packet) override;
    CMSampleBufferRef dequeueSampleBuffer() override;
    void flush() override;

  private:
    CMSampleBufferRef dequeueGatheredFrames();
    CMSampleBufferRef gather(const AVFrame& frame);
    bool adoptFormat(const AVFrame& frame);
    CMTime presentationTimestamp(const AVFrame& frame) const;
    std::unique_ptr<AudioSampleBufferBuilder> makeBuilder(const CMTime& presentationTimestamp);
    CMSampleBufferRef closeBuilder();

    ffmpeg::CodecContext decoderContext_;
    AVRational streamTimeBase_;
    SampleGrid sampleGrid_;
    /// Always there once constructed.
    std::optional<AudioProperties> audioProperties_;
    /// Made for the first buffer of a format and shared by all: a guessed layout is logged once.
    CMFormatDescriptionRef audioFormatDescription_;
    /// The one output frame, reused.
    ffmpeg::Frame ffmpegSampleBuffer_;
    std::optional<CMTime> guessedNextPresentationTimestamp_;
    std::unique_ptr<AudioSampleBufferBuilder> sampleBufferBuilder_;
    /// What went wrong behind the buffer that was handed out last.
    std::exception_ptr heldFailure_;
    /// The stream has ended: whatever there is leaves at once.
    bool forceDequeueSampleBuffer_ = false;
};

} // namespace zelvane

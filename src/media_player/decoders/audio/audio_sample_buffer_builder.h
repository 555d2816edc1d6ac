// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "core_media/audio_converter.h"
#include "core_media/cm_block_buffer.h"
#include "core_media/cm_sample_buffer.h"
#include "media_player/decoders/audio/audio_properties.h"

namespace zelvane {

/// Gathers decoded frames of one format into one sample buffer of interleaved PCM. Used by its
/// decoder's queue.
class AudioSampleBufferBuilder {
  public:
    /// `audioFormatDescription` is what `audioProperties` made.
    AudioSampleBufferBuilder(const AudioProperties& audioProperties,
                             CMFormatDescriptionRef audioFormatDescription,
                             const CMTime& presentationTimestamp);

    /// Frames so far.
    std::int64_t frameCount() const { return frameCount_; }
    /// Appends a decoder's frame, which is of the format that the builder was made for.
    void append(const AVFrame& frame);
    /// The buffer of all that was appended, at least one frame. The builder is spent afterwards.
    CMSampleBufferRef makeSampleBuffer();

  private:
    void appendInterleavedData(const AVFrame& frame, std::size_t bufferByteCount);
    void appendNonInterleavedData(const AVFrame& frame, std::size_t interleavedBufferByteCount);
    const AudioStreamBasicDescription& streamDescription() const {
        return audioFormatDescription_->audio()->streamDescription;
    }
    const AudioConverter& planarToInterleavedConverter();

    AudioProperties audioProperties_;
    CMFormatDescriptionRef audioFormatDescription_;
    std::unique_ptr<const AudioConverter> planarToInterleavedConverter_;
    CMTime presentationTimestamp_;
    std::int64_t frameCount_ = 0;
    std::shared_ptr<CMBlockBuffer> blockBuffer_;
};

} // namespace zelvane

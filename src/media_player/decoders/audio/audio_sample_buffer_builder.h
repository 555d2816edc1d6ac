// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "core_media/cm_block_buffer.h"
#include "core_media/cm_sample_buffer.h"
#include "media_player/decoders/audio/audio_properties.h"

namespace zelvane {

/// Gathers decoded frames of one format into one sample buffer of interleaved PCM, with the
/// channels in the order of its layout. Used by its decoder's queue.
class AudioSampleBufferBuilder {
  public:
    /// `format` is what `audioProperties` made.
    AudioSampleBufferBuilder(const AudioProperties& audioProperties, SampleBufferFormat format);

    /// Frames appended so far.
    std::int64_t frameCount() const { return frameCount_; }
    /// When the first frame begins; invalid until it is set.
    const CMTime& presentationTimestamp() const { return presentationTimestamp_; }
    void setPresentationTimestamp(const CMTime& time) { presentationTimestamp_ = time; }
    /// The duration of the frames appended so far.
    CMTime duration() const;
    /// Appends a decoded frame of the builder's format.
    void append(const AVFrame& frame);
    /// The buffer of all that was appended, at least one frame, once its time is known. The builder
    /// is spent afterwards.
    CMSampleBufferRef makeSampleBuffer();

  private:
    void appendInterleavedData(const AVFrame& frame, std::size_t bufferByteCount);
    void appendReorderedData(const AVFrame& frame, std::size_t bufferByteCount);
    void appendNonInterleavedData(const AVFrame& frame, std::size_t interleavedBufferByteCount);
    template <class Write>
    void appendMade(std::size_t byteCount, Write&& write);
    std::size_t bytesPerFrame() const {
        return format_.description->audio()->streamDescription.mBytesPerFrame;
    }

    AudioProperties audioProperties_;
    SampleBufferFormat format_;
    CMTime presentationTimestamp_ = kCMTimeInvalid;
    std::int64_t frameCount_ = 0;
    std::shared_ptr<CMBlockBuffer> blockBuffer_;
};

} // namespace zelvane

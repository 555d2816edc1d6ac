// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core_media/audio_format.h"
#include "core_media/cm_block_buffer.h"
#include "core_media/cv_pixel_buffer.h"
#include "foundation/cm_time.h"
#include "foundation/status_error.h"

namespace zelvane {

inline constexpr OSStatus kCMSampleBufferError_RequiredParameterMissing = -12731;
inline constexpr OSStatus kCMSampleBufferError_DataFailed = -16750;
inline constexpr OSStatus kCMFormatDescriptionError_InvalidParameter = -12710;

/// The format of a buffer's audio samples. Immutable, shared.
class CMFormatDescription {
  public:
    using Extensions = std::map<std::string, bool, std::less<>>;
    struct Audio {
        AudioStreamBasicDescription streamDescription;
        AudioChannelLayoutTag channelLayoutTag = 0;
        Extensions extensions;
        /// One for each channel, with kAudioChannelLayoutTag_UseChannelDescriptions only.
        std::vector<AudioChannelLabel> channelLabels{};
    };

    /// Throws SystemError kCMFormatDescriptionError_InvalidParameter for a rate, frame size or
    /// channel count of zero, or a tag or labels of another channel count.
    static std::shared_ptr<const CMFormatDescription> ofAudio(Audio audio);

    const Audio* audio() const { return &audio_; }

  private:
    explicit CMFormatDescription(Audio audio) : audio_(std::move(audio)) {}
    Audio audio_;
};

using CMFormatDescriptionRef = std::shared_ptr<const CMFormatDescription>;

/// Times of the first sample, and how long each sample lasts.
struct CMSampleTimingInfo {
    CMTime duration;
    CMTime presentationTimeStamp;
    CMTime decodeTimeStamp;
};

/// A picture, or a sequence of audio frames, with its time: the output of decoders and input of
/// renderers. Immutable once made; shared by reference between threads.
class CMSampleBuffer {
  public:
    static std::shared_ptr<const CMSampleBuffer> ofPicture(CVPixelBufferRef imageBuffer,
                                                           const CMSampleTimingInfo& timing);
    /// `sampleCount` samples of `sampleSize` bytes each, all of the same duration. Throws
    /// SystemError kCMSampleBufferError_DataFailed when the block buffer holds another number of
    /// bytes, kCMSampleBufferError_RequiredParameterMissing for no samples.
    static std::shared_ptr<const CMSampleBuffer>
    ofAudio(std::shared_ptr<const CMBlockBuffer> dataBuffer,
            CMFormatDescriptionRef formatDescription, std::int64_t sampleCount,
            const CMSampleTimingInfo& timing, std::size_t sampleSize);

    const CMTime& presentationTimeStamp() const { return timing_.presentationTimeStamp; }
    /// Of the whole buffer; invalid when a sample's is.
    const CMTime& duration() const { return duration_; }
    const CMSampleTimingInfo& timing() const { return timing_; }
    std::int64_t sampleCount() const { return sampleCount_; }
    /// Null for audio.
    const CVPixelBufferRef& imageBuffer() const { return imageBuffer_; }
    /// Null for video.
    const std::shared_ptr<const CMBlockBuffer>& dataBuffer() const { return dataBuffer_; }
    /// Null for video.
    const CMFormatDescriptionRef& formatDescription() const { return formatDescription_; }

  private:
    CMSampleBuffer() = default;

    CVPixelBufferRef imageBuffer_;
    std::shared_ptr<const CMBlockBuffer> dataBuffer_;
    CMFormatDescriptionRef formatDescription_;
    CMSampleTimingInfo timing_;
    CMTime duration_;
    std::int64_t sampleCount_ = 0;
};

using CMSampleBufferRef = std::shared_ptr<const CMSampleBuffer>;

} // namespace zelvane

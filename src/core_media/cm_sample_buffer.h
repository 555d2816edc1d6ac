// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <variant>

#include "core_media/audio_format.h"
#include "core_media/cm_block_buffer.h"
#include "core_media/cv_pixel_buffer.h"
#include "foundation/checked_call.h"
#include "foundation/cm_time.h"

namespace zelvane {

inline constexpr OSStatus kCMSampleBufferError_RequiredParameterMissing = -12731;
inline constexpr OSStatus kCMSampleBufferError_DataFailed = -16750;
inline constexpr OSStatus kCMFormatDescriptionError_InvalidParameter = -12710;

/// What the samples of a buffer are: pictures of a size and format, or PCM. Immutable, shared.
class CMFormatDescription {
  public:
    using Extensions = std::map<std::string, bool, std::less<>>;
    struct Video {
        OSType pixelFormat = 0;
        int width = 0;
        int height = 0;
    };
    struct Audio {
        AudioStreamBasicDescription streamDescription;
        AudioChannelLayoutTag channelLayoutTag = 0;
        Extensions extensions;
    };

    static OSStatus createForImageBuffer(const CVPixelBuffer& pixelBuffer,
                                         std::shared_ptr<const CMFormatDescription>& description);
    /// kCMFormatDescriptionError_InvalidParameter for a rate, frame size or channel count of zero,
    /// or a tag of another channel count.
    static OSStatus createForAudio(Audio audio,
                                   std::shared_ptr<const CMFormatDescription>& description);

    /// Null for audio.
    const Video* video() const { return std::get_if<Video>(&format_); }
    /// Null for video.
    const Audio* audio() const { return std::get_if<Audio>(&format_); }

  private:
    explicit CMFormatDescription(std::variant<Video, Audio> format) : format_(std::move(format)) {}
    std::variant<Video, Audio> format_;
};

using CMFormatDescriptionRef = std::shared_ptr<const CMFormatDescription>;

/// Times of the first sample, and how long each sample lasts.
struct CMSampleTimingInfo {
    CMTime duration;
    CMTime presentationTimeStamp;
    CMTime decodeTimeStamp;
};

/// A picture, or a run of audio frames, with its time: what decoders make and renderers take.
/// Immutable once made; shared by reference between threads.
class CMSampleBuffer {
  public:
    static OSStatus createReadyWithImageBuffer(CVPixelBufferRef imageBuffer,
                                               CMFormatDescriptionRef formatDescription,
                                               const CMSampleTimingInfo& timing,
                                               std::shared_ptr<const CMSampleBuffer>& sampleBuffer);
    /// `sampleCount` samples of `sampleSize` bytes each, all of the same duration. Fails with
    /// kCMSampleBufferError_DataFailed when the block buffer holds another number of bytes.
    static OSStatus create(std::shared_ptr<const CMBlockBuffer> dataBuffer,
                           CMFormatDescriptionRef formatDescription, std::int64_t sampleCount,
                           const CMSampleTimingInfo& timing, std::size_t sampleSize,
                           std::shared_ptr<const CMSampleBuffer>& sampleBuffer);

    const CMTime& presentationTimeStamp() const { return timing_.presentationTimeStamp; }
    /// Of the whole buffer; invalid when a sample's is.
    const CMTime& duration() const { return duration_; }
    const CMSampleTimingInfo& timing() const { return timing_; }
    std::int64_t sampleCount() const { return sampleCount_; }
    /// Null for audio.
    const CVPixelBufferRef& imageBuffer() const { return imageBuffer_; }
    /// Null for video.
    const std::shared_ptr<const CMBlockBuffer>& dataBuffer() const { return dataBuffer_; }
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

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "core_media/cm_sample_buffer.h"
#include "foundation/dispatch.h"
#include "foundation/geometry.h"

namespace zelvane {

/// A renderer that keeps a queue of sample buffers and renders each when its clock reaches it. One
/// provider feeds one renderer, from the provider's own queue; any other thread must not call.
class QueuedSampleBufferRendering {
  public:
    virtual ~QueuedSampleBufferRendering() = default;

    /// Takes one decoded buffer; buffers may come in any order of time.
    virtual void enqueueSampleBuffer(CMSampleBufferRef sampleBuffer) = 0;
    /// Whether the renderer wants more. This alone decides how far ahead of the clock a provider
    /// reads; enqueueing while it is false is allowed, and costs memory.
    virtual bool isReadyForMoreMediaData() const = 0;
    /// Calls `block` on `queue` whenever the renderer wants data, again and again, until
    /// stopRequestingMediaData. Replaces an earlier registration.
    virtual void requestMediaDataWhenReady(std::shared_ptr<dispatch::Queue> queue,
                                           dispatch::Task block) = 0;
    /// Ends the registration, if there is one; once this returns on the registered queue, the block
    /// is not called again.
    virtual void stopRequestingMediaData() = 0;
    /// Drops what is queued and not yet rendered. A picture on screen stays.
    virtual void flush() = 0;
};

class VideoRendering : public QueuedSampleBufferRendering {
  public:
    /// flush(), and clears the picture on screen.
    virtual void flushAndRemoveImage() = 0;
    /// The picture in square pixels at the origin, before its transform. Main queue.
    virtual void setBounds(const CGRect& bounds) = 0;
    /// Rotation and mirroring of the picture. Main queue.
    virtual void setAffineTransform(const CGAffineTransform& transform) = 0;
};

/// How rates other than 1 sound.
enum class AVAudioTimePitchAlgorithm {
    /// Keeps the pitch, at the best quality.
    AVAudioTimePitchAlgorithmSpectral,
    /// Faster plays higher.
    AVAudioTimePitchAlgorithmVarispeed,
};

/// Mono, stereo and multichannel.
inline constexpr std::uint32_t kAVAudioSpatializationFormatsAll = 7;

class AudioRendering : public QueuedSampleBufferRendering {
  public:
    virtual void setAudioTimePitchAlgorithm(AVAudioTimePitchAlgorithm algorithm) = 0;
    virtual void setAllowedAudioSpatializationFormats(std::uint32_t formats) = 0;
    /// The device to play on; none is the sound server's default. Any thread.
    virtual std::optional<std::string> audioOutputDeviceUniqueID() const = 0;
    virtual void setAudioOutputDeviceUniqueID(std::optional<std::string> uniqueID) = 0;
};

/// Posted on an arbitrary thread, with the AudioRendering as object, when queued audio was lost
/// because the output went away or moved. May carry the CMTime under the key below.
inline constexpr std::string_view kAudioRendererWasFlushedAutomaticallyNotification =
    "AVSampleBufferAudioRendererWasFlushedAutomaticallyNotification";
inline constexpr std::string_view kAudioRendererFlushTimeKey =
    "AVSampleBufferAudioRendererFlushTimeKey";

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core_media/cm_sample_buffer.h"
#include "foundation/geometry.h"
#include "rendering/media_data_consumer.h"

namespace zelvane {

/// A renderer with a queue of sample buffers; it renders each when its clock reaches its time.
/// Called from its provider's queue only.
class QueuedSampleBufferRendering : public MediaDataConsumer {
  public:
    /// Adds a decoded buffer. Buffers may be added in any order of their times.
    virtual void enqueueSampleBuffer(CMSampleBufferRef sampleBuffer) = 0;
    /// Drops queued buffers that were not rendered yet. A picture on screen stays.
    virtual void flush() = 0;
};

class VideoRendering : public QueuedSampleBufferRendering {
  public:
    /// flush(), and clears the picture on screen.
    virtual void flushAndRemoveImage() = 0;
    /// The picture in square pixels at the origin, before its transform. Any thread.
    virtual void setBounds(const CGRect& bounds) = 0;
    /// Rotation and mirroring of the picture. Any thread.
    virtual void setAffineTransform(const CGAffineTransform& transform) = 0;
};

/// The treatment of pitch at rates other than 1.
enum class AVAudioTimePitchAlgorithm {
    /// Keeps the pitch, at the best quality.
    AVAudioTimePitchAlgorithmSpectral,
    /// The pitch follows the rate.
    AVAudioTimePitchAlgorithmVarispeed,
};

/// Mono, stereo and multichannel.
inline constexpr std::uint32_t kAVAudioSpatializationFormatsAll = 7;

class AudioRendering : public QueuedSampleBufferRendering {
  public:
    virtual void setAudioTimePitchAlgorithm(AVAudioTimePitchAlgorithm algorithm) = 0;
    virtual void setAllowedAudioSpatializationFormats(std::uint32_t formats) = 0;
    /// The device to play on; none means the default of the sound server. Any thread.
    virtual std::optional<std::string> audioOutputDeviceUniqueID() const = 0;
    virtual void setAudioOutputDeviceUniqueID(std::optional<std::string> uniqueID) = 0;

    /// The volume of this stream at the output, 0…1 on the perceptual scale of the sound server's
    /// mixers (not a gain). Other programs can change it too. Any thread.
    virtual float volume() const = 0;
    /// Values outside 0…1 are clamped. Applies to streams made later too. Any thread.
    virtual void setVolume(float volume) = 0;
    /// Muting keeps the volume. Any thread.
    virtual bool isMuted() const = 0;
    virtual void setMuted(bool isMuted) = 0;
};

/// Posted on an arbitrary thread, with the AudioRendering as object, after volume() or isMuted()
/// changed, by setVolume(), setMuted() or another program. Several changes may be posted once.
inline constexpr std::string_view kAudioRendererVolumeDidChangeNotification =
    "zelvane.AudioRenderer.volumeDidChange";

/// Posted on an arbitrary thread, with the AudioRendering as object, when queued audio was lost
/// because the output went away or moved. May carry the CMTime under the key below.
inline constexpr std::string_view kAudioRendererWasFlushedAutomaticallyNotification =
    "AVSampleBufferAudioRendererWasFlushedAutomaticallyNotification";
inline constexpr std::string_view kAudioRendererFlushTimeKey =
    "AVSampleBufferAudioRendererFlushTimeKey";

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "core_media/audio_format.h"
#include "foundation/checked_call.h"

namespace zelvane {

/// The PCM formats asked for cannot be converted into each other.
inline constexpr OSStatus kAudioConverterErr_FormatNotSupported =
    static_cast<OSStatus>(fourCharCode("fmt?"));
/// A buffer is shorter than the frames asked for.
inline constexpr OSStatus kAudioConverterErr_InvalidInputSize =
    static_cast<OSStatus>(fourCharCode("insz"));
inline constexpr OSStatus kAudioConverterErr_InvalidOutputSize =
    static_cast<OSStatus>(fourCharCode("otsz"));

/// Turns PCM with each channel in a buffer of its own into interleaved samples of the same kind.
/// Without state: any thread.
class AudioConverter {
  public:
    /// `source` has kAudioFormatFlagIsNonInterleaved, `destination` has not, and all else agrees;
    /// samples are of 1, 2, 4 or 8 bytes. Else kAudioConverterErr_FormatNotSupported.
    static OSStatus create(const AudioStreamBasicDescription& source,
                           const AudioStreamBasicDescription& destination,
                           std::unique_ptr<const AudioConverter>& converter);

    /// Converts `frameCount` frames of `channels`, one pointer a channel, into `output`. The
    /// channels need no alignment and hold `channelByteCount` bytes each.
    OSStatus convertComplexBuffer(std::size_t frameCount,
                                  std::span<const std::uint8_t* const> channels,
                                  std::size_t channelByteCount,
                                  std::span<std::uint8_t> output) const;

  private:
    AudioConverter(std::size_t channelCount, std::size_t bytesPerSample)
        : channelCount_(channelCount), bytesPerSample_(bytesPerSample) {}

    std::size_t channelCount_;
    std::size_t bytesPerSample_;
};

} // namespace zelvane

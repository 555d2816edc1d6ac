// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "core_media/four_char_code.h"

namespace zelvane {

using AudioFormatFlags = std::uint32_t;
/// The number of a layout in the upper half, its channel count in the lower.
using AudioChannelLayoutTag = std::uint32_t;
/// What one channel is for: 1 to 18 are FFmpeg's channels in the order of their bits.
using AudioChannelLabel = std::uint32_t;

inline constexpr AudioFormatFlags kAudioFormatFlagIsFloat = 0x1;
inline constexpr AudioFormatFlags kAudioFormatFlagIsSignedInteger = 0x4;
/// Samples with fewer bits than their container use its high bits.
inline constexpr AudioFormatFlags kAudioFormatFlagIsAlignedHigh = 0x10;
/// Each channel has its own buffer.
inline constexpr AudioFormatFlags kAudioFormatFlagIsNonInterleaved = 0x20;

inline constexpr OSType kAudioFormatLinearPCM = fourCharCode("lpcm");

/// The memory format of an audio stream.
struct AudioStreamBasicDescription {
    double mSampleRate = 0;
    OSType mFormatID = 0;
    AudioFormatFlags mFormatFlags = 0;
    std::uint32_t mBytesPerPacket = 0;
    std::uint32_t mFramesPerPacket = 0;
    std::uint32_t mBytesPerFrame = 0;
    std::uint32_t mChannelsPerFrame = 0;
    std::uint32_t mBitsPerChannel = 0;
    std::uint32_t mReserved = 0;
    friend bool operator==(const AudioStreamBasicDescription&,
                           const AudioStreamBasicDescription&) = default;
};

/// A label for each channel takes the place of a tag.
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_UseChannelDescriptions = 0;
/// Plus n: the n-th channel of those that have no known place.
inline constexpr AudioChannelLabel kAudioChannelLabel_Discrete_0 = 1U << 16;
/// Plus n: the n-th component of an ambisonic sound field, in the order of ACN.
inline constexpr AudioChannelLabel kAudioChannelLabel_HOA_ACN_0 = 2U << 16;

inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_Mono = 0x640001;
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_Stereo = 0x650002;
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_Binaural = 0x6A0002;
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_AC3_1_0_1 = 0x950002;
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_ITU_2_1 = 0x830003;
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_ITU_2_2 = 0x840004;
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_DVD_4 = 0x850003;
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_DVD_5 = 0x860004;
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_DVD_6 = 0x870005;
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_MPEG_3_0_A = 0x710003;
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_MPEG_4_0_A = 0x730004;
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_MPEG_5_0_A = 0x750005;
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_DVD_10 = 0x880004;
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_DVD_11 = 0x890005;
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_MPEG_5_1_A = 0x790006;
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_MPEG_6_1_A = 0x7D0007;
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_MPEG_7_1_A = 0x7E0008;
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_MPEG_7_1_C = 0x800008;

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "core_media/audio_format.h"

namespace zelvane {

/// The channels of a sample buffer's frames, in order.
struct AudioChannels {
    AudioChannelLayoutTag tag = kAudioChannelLayoutTag_UseChannelDescriptions;
    /// Without a tag: what each channel is.
    std::vector<AudioChannelLabel> labels{};
    /// Which channel of FFmpeg's frame each channel is; empty when the orders agree.
    std::vector<std::uint8_t> channelMap{};
};

/// The channels of FFmpeg's frames with a channel mask. Channels of a similar place can replace
/// each other, as side and back surrounds do; the layout tag with the fewest replacements is taken,
/// and the channels get its order. Where no tag fits, or two fit equally well, the channels are
/// described by labels. A mask of 0 takes the usual layout of the count, or describes
/// channels without a place. With `isAmbisonic` the channels that the mask does not name
/// are a sound field. Throws FFmpegError: unsupportedChannelCount, unexpectedChannelType or
/// channelLayoutDoesNotMatchChannelCount.
AudioChannels audioChannels(std::uint64_t channelMask, int channelCount, bool isAmbisonic = false);

} // namespace zelvane

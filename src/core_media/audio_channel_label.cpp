// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/audio_channel_label.h"

#include <algorithm>
#include <array>
#include <bit>

#include "core_media/ffmpeg.h"

namespace zelvane {
namespace {

struct LabelledChannel {
    std::uint64_t channel;
    AudioChannelLabel label;
};

/// The channels whose labels are not the number of their bit plus one.
constexpr std::array kOtherChannels{
    LabelledChannel{AV_CH_STEREO_LEFT, 38},
    LabelledChannel{AV_CH_STEREO_RIGHT, 39},
    LabelledChannel{AV_CH_WIDE_LEFT, 35},
    LabelledChannel{AV_CH_WIDE_RIGHT, 36},
    LabelledChannel{AV_CH_SURROUND_DIRECT_LEFT, 33},
    LabelledChannel{AV_CH_SURROUND_DIRECT_RIGHT, 34},
    LabelledChannel{AV_CH_LOW_FREQUENCY_2, 37},
    LabelledChannel{AV_CH_TOP_SIDE_LEFT, 49},
    LabelledChannel{AV_CH_TOP_SIDE_RIGHT, 51},
    LabelledChannel{AV_CH_BOTTOM_FRONT_LEFT, 57},
    LabelledChannel{AV_CH_BOTTOM_FRONT_RIGHT, 58},
    LabelledChannel{AV_CH_BOTTOM_FRONT_CENTER, 59},
};

constexpr AudioChannelLabel kLastDirectLabel = 18;

} // namespace

std::optional<AudioChannelLabel> labelOfChannel(std::uint64_t channelBit) {
    if (channelBit <= AV_CH_TOP_BACK_RIGHT) {
        return static_cast<AudioChannelLabel>(std::countr_zero(channelBit) + 1);
    }
    const auto* const found =
        std::find_if(kOtherChannels.begin(), kOtherChannels.end(),
                     [&](const auto& known) { return known.channel == channelBit; });
    return found == kOtherChannels.end() ? std::nullopt : std::optional(found->label);
}

std::uint64_t channelOfLabel(AudioChannelLabel label) {
    if (label >= 1 && label <= kLastDirectLabel) {
        return std::uint64_t{1} << (label - 1);
    }
    const auto* const found = std::find_if(kOtherChannels.begin(), kOtherChannels.end(),
                                           [&](const auto& known) { return known.label == label; });
    return found == kOtherChannels.end() ? 0 : found->channel;
}

} // namespace zelvane

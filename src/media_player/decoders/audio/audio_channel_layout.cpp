// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/audio/audio_channel_layout.h"

#include <algorithm>
#include <array>
#include <bit>
#include <bitset>
#include <initializer_list>
#include <optional>

#include "core_media/ffmpeg.h"
#include "core_media/ffmpeg_error.h"
#include "foundation/log.h"

namespace zelvane {
namespace {

/// kAudioChannelLabel_… of Core Audio: what a channel is for.
using ChannelLabel = std::uint8_t;
/// Bit n stands for label n.
using ChannelLabels = std::bitset<64>;

constexpr std::size_t kMaxChannels = 8;

struct Layout {
    AudioChannelLayoutTag tag;
    /// In the order of the samples; 0 fills up.
    std::array<ChannelLabel, kMaxChannels> labels;

    int channelCount() const { return static_cast<int>(tag & 0xffff); }
};

constexpr std::array kSupportedLayouts{
    Layout{kAudioChannelLayoutTag_Mono, {3}},
    Layout{kAudioChannelLayoutTag_AC3_1_0_1, {3, 4}},
    Layout{kAudioChannelLayoutTag_Stereo, {1, 2}},
    Layout{kAudioChannelLayoutTag_ITU_2_1, {1, 2, 9}},
    Layout{kAudioChannelLayoutTag_ITU_2_2, {1, 2, 5, 6}},
    Layout{kAudioChannelLayoutTag_DVD_4, {1, 2, 4}},
    Layout{kAudioChannelLayoutTag_DVD_5, {1, 2, 4, 9}},
    Layout{kAudioChannelLayoutTag_DVD_6, {1, 2, 4, 5, 6}},
    Layout{kAudioChannelLayoutTag_MPEG_3_0_A, {1, 2, 3}},
    Layout{kAudioChannelLayoutTag_MPEG_4_0_A, {1, 2, 3, 9}},
    Layout{kAudioChannelLayoutTag_MPEG_5_0_A, {1, 2, 3, 5, 6}},
    Layout{kAudioChannelLayoutTag_DVD_10, {1, 2, 3, 4}},
    Layout{kAudioChannelLayoutTag_DVD_11, {1, 2, 3, 4, 9}},
    Layout{kAudioChannelLayoutTag_MPEG_5_1_A, {1, 2, 3, 4, 5, 6}},
    Layout{kAudioChannelLayoutTag_MPEG_6_1_A, {1, 2, 3, 4, 5, 6, 9}},
    Layout{kAudioChannelLayoutTag_MPEG_7_1_A, {1, 2, 3, 4, 5, 6, 7, 8}},
    Layout{kAudioChannelLayoutTag_MPEG_7_1_C, {1, 2, 3, 4, 5, 6, 33, 34}},
};

/// By channel count, from one channel on.
constexpr std::array<AudioChannelLayoutTag, kMaxChannels> kDefaultLayouts{
    kAudioChannelLayoutTag_Mono,       kAudioChannelLayoutTag_Stereo,
    kAudioChannelLayoutTag_DVD_4,      kAudioChannelLayoutTag_ITU_2_2,
    kAudioChannelLayoutTag_MPEG_5_0_A, kAudioChannelLayoutTag_MPEG_5_1_A,
    kAudioChannelLayoutTag_MPEG_6_1_A, kAudioChannelLayoutTag_MPEG_7_1_C,
};

ChannelLabels labelSet(std::initializer_list<ChannelLabel> labels) {
    ChannelLabels set;
    for (const ChannelLabel label : labels) {
        set.set(label);
    }
    return set;
}

/// Channels that may stand in for each other.
const std::array<ChannelLabels, 7>& interchangeableLabels() {
    static const std::array groups{
        labelSet({1, 7, 13}),      labelSet({2, 8, 15}),          labelSet({3, 7, 8, 14}),
        labelSet({4, 37}),         labelSet({5, 10, 16, 33, 35}), labelSet({6, 11, 18, 34, 36}),
        labelSet({9, 12, 17, 44}),
    };
    return groups;
}

ChannelLabel channelLabel(std::uint64_t channel) {
    if (channel <= AV_CH_TOP_BACK_RIGHT) {
        return static_cast<ChannelLabel>(std::countr_zero(channel) + 1);
    }
    switch (channel) {
    case AV_CH_WIDE_LEFT:
        return 35;
    case AV_CH_WIDE_RIGHT:
        return 36;
    case AV_CH_SURROUND_DIRECT_LEFT:
        return 33;
    case AV_CH_SURROUND_DIRECT_RIGHT:
        return 34;
    case AV_CH_LOW_FREQUENCY_2:
        return 37;
    default:
        throw FFmpegError::unexpectedChannelType(channel);
    }
}

ChannelLabels channelLabels(std::uint64_t channelMask) {
    ChannelLabels labels;
    for (std::uint64_t rest = channelMask; rest != 0; rest &= rest - 1) {
        labels.set(channelLabel(rest & ~(rest - 1)));
    }
    return labels;
}

/// The lowest of `labels` that shares a group with `label`.
std::optional<std::size_t> standIn(ChannelLabel label, const ChannelLabels& labels) {
    ChannelLabels candidates;
    for (const auto& group : interchangeableLabels()) {
        if (group.test(label)) {
            candidates |= group;
        }
    }
    candidates &= labels;
    if (candidates.none()) {
        return std::nullopt;
    }
    return std::countr_zero(candidates.to_ullong());
}

/// How many channels of the layout something else has to stand in for; none when that does not do.
std::optional<int> substitutions(const Layout& layout, ChannelLabels labels) {
    int count = 0;
    for (const ChannelLabel label : layout.labels) {
        if (label == 0) {
            break;
        }
        if (labels.test(label)) {
            labels.reset(label);
            continue;
        }
        const auto found = standIn(label, labels);
        if (!found) {
            return std::nullopt;
        }
        labels.reset(*found);
        ++count;
    }
    return count;
}

AudioChannelLayoutTag defaultLayoutTag(int channelCount) {
    if (channelCount < 1 || channelCount > static_cast<int>(kDefaultLayouts.size())) {
        throw FFmpegError::unsupportedChannelCount(channelCount);
    }
    const auto tag = kDefaultLayouts[static_cast<std::size_t>(channelCount - 1)];
    logMessage("FFmpeg did not provide a channel layout, so using the default standard layout for "
               "{} channels: {}.",
               channelCount, tag);
    return tag;
}

/// None when no layout fits best alone.
std::optional<AudioChannelLayoutTag> bestLayoutTag(const ChannelLabels& labels, int channelCount) {
    std::optional<AudioChannelLayoutTag> best;
    int fewest = static_cast<int>(kMaxChannels) + 1;
    for (const auto& layout : kSupportedLayouts) {
        if (layout.channelCount() != channelCount) {
            continue;
        }
        const auto count = substitutions(layout, labels);
        if (!count || *count > fewest) {
            continue;
        }
        best = *count < fewest ? std::optional(layout.tag) : std::nullopt;
        fewest = *count;
    }
    return best;
}

} // namespace

AudioChannelLayoutTag audioChannelLayoutTag(std::uint64_t channelMask, int channelCount) {
    if (channelMask == 0) {
        return defaultLayoutTag(channelCount);
    }
    const ChannelLabels labels = channelLabels(channelMask);
    if (static_cast<int>(labels.count()) != channelCount) {
        throw FFmpegError::channelLayoutDoesNotMatchChannelCount(channelMask, channelCount);
    }
    if (const auto best = bestLayoutTag(labels, channelCount)) {
        return *best;
    }
    if (channelCount == 1) {
        return kAudioChannelLayoutTag_Mono;
    }
    throw FFmpegError::unsupportedChannelLayout(channelMask);
}

} // namespace zelvane

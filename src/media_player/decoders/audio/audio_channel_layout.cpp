// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/audio/audio_channel_layout.h"

#include <algorithm>
#include <array>
#include <bit>
#include <bitset>
#include <functional>
#include <initializer_list>
#include <numeric>
#include <optional>
#include <utility>

#include "core_media/audio_channel_label.h"
#include "core_media/ffmpeg.h"
#include "core_media/ffmpeg_error.h"

namespace zelvane {
namespace {

/// Bit n is label n.
using ChannelLabels = std::bitset<64>;
using Labels = std::vector<AudioChannelLabel>;

constexpr std::size_t kMaxChannels = 8;
/// What libswresample mixes.
constexpr int kMaxDescribedChannels = 64;

struct Layout {
    AudioChannelLayoutTag tag;
    /// In the order of the samples, then zeros.
    std::array<AudioChannelLabel, kMaxChannels> labels;

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

ChannelLabels labelSet(std::initializer_list<AudioChannelLabel> labels) {
    ChannelLabels set;
    for (const AudioChannelLabel label : labels) {
        set.set(label);
    }
    return set;
}

/// Channels that can replace each other.
const std::array<ChannelLabels, 7>& interchangeableLabels() {
    static const std::array groups{
        labelSet({1, 7, 13}),      labelSet({2, 8, 15}),          labelSet({3, 7, 8, 14}),
        labelSet({4, 37}),         labelSet({5, 10, 16, 33, 35}), labelSet({6, 11, 18, 34, 36}),
        labelSet({9, 12, 17, 44}),
    };
    return groups;
}

/// In the order of the bits.
Labels labelsOf(std::uint64_t channelMask) {
    Labels labels;
    for (std::uint64_t rest = channelMask; rest != 0; rest &= rest - 1) {
        const std::uint64_t channel = rest & ~(rest - 1);
        const auto label = labelOfChannel(channel);
        if (!label) {
            throw FFmpegError::unexpectedChannelType(channel);
        }
        labels.push_back(*label);
    }
    return labels;
}

/// `label` itself, or the lowest of `available` that can replace it.
std::optional<AudioChannelLabel> sourceOf(AudioChannelLabel label, const ChannelLabels& available) {
    if (available.test(label)) {
        return label;
    }
    ChannelLabels candidates;
    for (const auto& group : interchangeableLabels()) {
        if (group.test(label)) {
            candidates |= group;
        }
    }
    candidates &= available;
    return candidates.none()
               ? std::nullopt
               : std::optional<AudioChannelLabel>(std::countr_zero(candidates.to_ullong()));
}

/// Which of `labels` serves as each channel of the layout; none when one has no replacement.
std::optional<Labels> assignment(const Layout& layout, const Labels& labels) {
    ChannelLabels available;
    for (const AudioChannelLabel label : labels) {
        available.set(label);
    }
    Labels assigned;
    for (int i = 0; i < layout.channelCount(); ++i) {
        const auto source = sourceOf(layout.labels[static_cast<std::size_t>(i)], available);
        if (!source) {
            return std::nullopt;
        }
        available.reset(*source);
        assigned.push_back(*source);
    }
    return assigned;
}

int replacements(const Layout& layout, const Labels& assigned) {
    return static_cast<int>(std::inner_product(assigned.begin(), assigned.end(),
                                               layout.labels.begin(), 0, std::plus<>(),
                                               std::not_equal_to<>()));
}

std::vector<std::uint8_t> channelMap(const Labels& assigned, const Labels& labels) {
    if (assigned == labels) {
        return {};
    }
    std::vector<std::uint8_t> map;
    for (const AudioChannelLabel label : assigned) {
        map.push_back(static_cast<std::uint8_t>(std::find(labels.begin(), labels.end(), label) -
                                                labels.begin()));
    }
    return map;
}

/// None when no layout fits best alone.
std::optional<AudioChannels> bestLayout(const Labels& labels) {
    std::optional<AudioChannels> best;
    int fewest = static_cast<int>(kMaxChannels) + 1;
    for (const auto& layout : kSupportedLayouts) {
        if (layout.channelCount() != static_cast<int>(labels.size())) {
            continue;
        }
        const auto assigned = assignment(layout, labels);
        const int count = assigned ? replacements(layout, *assigned) : fewest + 1;
        if (count > fewest) {
            continue;
        }
        best = count < fewest
                   ? std::optional(AudioChannels{layout.tag, {}, channelMap(*assigned, labels)})
                   : std::nullopt;
        fewest = count;
    }
    return best;
}

Labels numberedLabels(AudioChannelLabel first, int count) {
    Labels labels(static_cast<std::size_t>(count));
    std::iota(labels.begin(), labels.end(), first);
    return labels;
}

AudioChannels channelsWithoutPlaces(int channelCount) {
    if (channelCount > static_cast<int>(kDefaultLayouts.size())) {
        return {.labels = numberedLabels(kAudioChannelLabel_Discrete_0, channelCount)};
    }
    return {.tag = kDefaultLayouts[static_cast<std::size_t>(channelCount - 1)]};
}

/// The components come first.
AudioChannels soundField(std::uint64_t channelMask, int channelCount) {
    Labels labels =
        numberedLabels(kAudioChannelLabel_HOA_ACN_0, channelCount - std::popcount(channelMask));
    const Labels others = labelsOf(channelMask);
    labels.insert(labels.end(), others.begin(), others.end());
    return {.labels = std::move(labels)};
}

} // namespace

AudioChannels audioChannels(std::uint64_t channelMask, int channelCount, bool isAmbisonic) {
    if (channelCount < 1 || channelCount > kMaxDescribedChannels) {
        throw FFmpegError::unsupportedChannelCount(channelCount);
    }
    const int named = std::popcount(channelMask);
    if (isAmbisonic ? named > channelCount : named != channelCount && channelMask != 0) {
        throw FFmpegError::channelLayoutDoesNotMatchChannelCount(channelMask, channelCount);
    }
    if (isAmbisonic) {
        return soundField(channelMask, channelCount);
    }
    if (channelMask == 0) {
        return channelsWithoutPlaces(channelCount);
    }
    Labels labels = labelsOf(channelMask);
    if (auto best = bestLayout(labels)) {
        return *std::move(best);
    }
    if (channelCount == 1) {
        return {.tag = kAudioChannelLayoutTag_Mono};
    }
    return {.labels = std::move(labels)};
}

} // namespace zelvane

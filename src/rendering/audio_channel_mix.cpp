// SPDX-License-Identifier: GPL-3.0-or-later
#include "rendering/audio_channel_mix.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>
#include <numeric>

#include "core_media/audio_channel_label.h"
#include "core_media/ffmpeg.h"

namespace zelvane {
namespace {

/// What libswresample 4 mixes: all channels in the plane of the ears but the wide ones.
constexpr std::uint64_t kMixedByLibrary = AV_CH_LAYOUT_7POINT1 | AV_CH_BACK_CENTER |
                                          AV_CH_FRONT_LEFT_OF_CENTER | AV_CH_FRONT_RIGHT_OF_CENTER;
constexpr std::uint64_t kLeft = AV_CH_FRONT_LEFT | AV_CH_BACK_LEFT | AV_CH_FRONT_LEFT_OF_CENTER |
                                AV_CH_SIDE_LEFT | AV_CH_TOP_FRONT_LEFT | AV_CH_TOP_BACK_LEFT |
                                AV_CH_STEREO_LEFT | AV_CH_WIDE_LEFT | AV_CH_SURROUND_DIRECT_LEFT |
                                AV_CH_TOP_SIDE_LEFT | AV_CH_BOTTOM_FRONT_LEFT;
constexpr std::uint64_t kRight =
    AV_CH_FRONT_RIGHT | AV_CH_BACK_RIGHT | AV_CH_FRONT_RIGHT_OF_CENTER | AV_CH_SIDE_RIGHT |
    AV_CH_TOP_FRONT_RIGHT | AV_CH_TOP_BACK_RIGHT | AV_CH_STEREO_RIGHT | AV_CH_WIDE_RIGHT |
    AV_CH_SURROUND_DIRECT_RIGHT | AV_CH_TOP_SIDE_RIGHT | AV_CH_BOTTOM_FRONT_RIGHT;
constexpr std::uint64_t kLowFrequencies = AV_CH_LOW_FREQUENCY | AV_CH_LOW_FREQUENCY_2;

/// Gains of a channel that libswresample does not mix.
struct FrontGains {
    double left = 0;
    double right = 0;
};

FrontGains soundFieldGains(AudioChannelLabel component) {
    constexpr AudioChannelLabel kOmnidirectional = kAudioChannelLabel_HOA_ACN_0;
    constexpr AudioChannelLabel kLeftToRight = kAudioChannelLabel_HOA_ACN_0 + 1;
    constexpr double kHalf = 0.5;
    // Two cardioid microphones that point to the sides.
    return component == kOmnidirectional ? FrontGains{kHalf, kHalf}
           : component == kLeftToRight   ? FrontGains{kHalf, -kHalf}
                                         : FrontGains{};
}

FrontGains frontGains(AudioChannelLabel label) {
    if (label >= kAudioChannelLabel_HOA_ACN_0) {
        return soundFieldGains(label);
    }
    constexpr double kMinus3dB = std::numbers::sqrt2 / 2;
    const std::uint64_t channel = channelOfLabel(label);
    if ((channel & (AV_CH_STEREO_LEFT | AV_CH_STEREO_RIGHT)) != 0) {
        return {channel == AV_CH_STEREO_LEFT ? 1.0 : 0.0,
                channel == AV_CH_STEREO_RIGHT ? 1.0 : 0.0};
    }
    if ((channel & kLowFrequencies) != 0) {
        return {};
    }
    return {(channel & kRight) != 0 ? 0 : kMinus3dB, (channel & kLeft) != 0 ? 0 : kMinus3dB};
}

int indexOfChannel(std::uint64_t mask, std::uint64_t channel) {
    return std::popcount(mask & (channel - 1));
}

/// A matrix with a column for each source channel.
class Mix {
  public:
    Mix(std::span<const AudioChannelLabel> labels, std::uint64_t deviceMask)
        : labels_(labels), deviceMask_(deviceMask),
          gains_(labels.size() * static_cast<std::size_t>(std::popcount(deviceMask))) {}

    void addLibraryGains();
    void addOtherGains();
    void limit();
    std::vector<double> gains() && { return std::move(gains_); }

  private:
    double& gain(std::uint64_t deviceChannel, std::size_t source) {
        const auto row = static_cast<std::size_t>(indexOfChannel(deviceMask_, deviceChannel));
        return gains_[row * labels_.size() + source];
    }
    void addInFront(const FrontGains& gains, std::size_t source);

    std::span<const AudioChannelLabel> labels_;
    std::uint64_t deviceMask_;
    std::vector<double> gains_;
    /// The channels whose gains the library gave.
    std::uint64_t mixed_ = 0;
};

void Mix::addLibraryGains() {
    std::uint64_t mask = 0;
    for (const AudioChannelLabel label : labels_) {
        mask |= channelOfLabel(label) & kMixedByLibrary;
    }
    AVChannelLayout from{};
    AVChannelLayout to{};
    constexpr double kUnlimited = 1e9;
    constexpr int kMaxChannels = 64;
    std::vector<double> matrix(static_cast<std::size_t>(kMaxChannels * kMaxChannels));
    if (av_channel_layout_from_mask(&from, mask) < 0 ||
        av_channel_layout_from_mask(&to, deviceMask_) < 0 ||
        swr_build_matrix2(&from, &to, std::numbers::sqrt2 / 2, std::numbers::sqrt2 / 2, 0,
                          kUnlimited, 1, matrix.data(), kMaxChannels, AV_MATRIX_ENCODING_NONE,
                          nullptr) < 0) {
        return;
    }
    mixed_ = mask;
    for (std::size_t source = 0; source < labels_.size(); ++source) {
        const std::uint64_t channel = channelOfLabel(labels_[source]);
        for (std::uint64_t rest = deviceMask_; (channel & mixed_) != 0 && rest != 0;
             rest &= rest - 1) {
            const std::uint64_t device = rest & ~(rest - 1);
            const auto row = static_cast<std::size_t>(indexOfChannel(deviceMask_, device));
            const auto column = static_cast<std::size_t>(indexOfChannel(mask, channel));
            gain(device, source) = matrix[row * kMaxChannels + column];
        }
    }
}

void Mix::addOtherGains() {
    for (std::size_t source = 0; source < labels_.size(); ++source) {
        const std::uint64_t channel = channelOfLabel(labels_[source]);
        if ((channel & deviceMask_ & ~mixed_) != 0) {
            gain(channel, source) = 1;
        } else if ((channel & mixed_) == 0) {
            addInFront(frontGains(labels_[source]), source);
        }
    }
}

void Mix::addInFront(const FrontGains& gains, std::size_t source) {
    if ((deviceMask_ & AV_CH_LAYOUT_STEREO) == AV_CH_LAYOUT_STEREO) {
        gain(AV_CH_FRONT_LEFT, source) = gains.left;
        gain(AV_CH_FRONT_RIGHT, source) = gains.right;
    } else {
        gain(deviceMask_ & ~(deviceMask_ - 1), source) = (gains.left + gains.right) / 2;
    }
}

void Mix::limit() {
    double loudest = 1;
    for (auto row = gains_.begin(); row != gains_.end();
         row += static_cast<std::ptrdiff_t>(labels_.size())) {
        loudest = std::max(
            loudest, std::accumulate(row, row + static_cast<std::ptrdiff_t>(labels_.size()), 0.0,
                                     [](double sum, double gain) { return sum + std::abs(gain); }));
    }
    for (double& gain : gains_) {
        gain /= loudest;
    }
}

} // namespace

std::vector<double> audioChannelMix(std::span<const AudioChannelLabel> labels,
                                    std::uint64_t deviceMask) {
    Mix mix(labels, deviceMask);
    mix.addLibraryGains();
    mix.addOtherGains();
    mix.limit();
    return std::move(mix).gains();
}

} // namespace zelvane

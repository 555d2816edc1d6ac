// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>

#include "core_media/audio_format.h"

namespace zelvane {

/// The label of one of FFmpeg's channels (a single AV_CH_ bit); none for a bit without a meaning.
std::optional<AudioChannelLabel> labelOfChannel(std::uint64_t channelBit);
/// The reverse; 0 for labels that FFmpeg has no channel for.
std::uint64_t channelOfLabel(AudioChannelLabel label);

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "core_media/audio_format.h"

namespace zelvane {

/// How loud each source channel is in each channel of a device: row by row, one row for each device
/// channel. Channels that libswresample mixes get its gains. Others play in front on their side,
/// those without a side or a known place in the middle. No row adds up to more than 1.
std::vector<double> audioChannelMix(std::span<const AudioChannelLabel> labels,
                                    std::uint64_t deviceMask);

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace zelvane {

/// Interleaves `frameCount` samples of each of `channels`, which need no alignment, into `output`.
/// A sample has 1, 2, 4 or 8 bytes.
void interleaveChannels(std::size_t frameCount, std::size_t bytesPerSample,
                        std::span<const std::uint8_t* const> channels, std::uint8_t* output);

/// Copies interleaved frames so that channel k of `output` is channel `channelMap[k]` of `input`.
void reorderChannels(std::size_t frameCount, std::size_t bytesPerSample,
                     std::span<const std::uint8_t> channelMap, const std::uint8_t* input,
                     std::uint8_t* output);

} // namespace zelvane

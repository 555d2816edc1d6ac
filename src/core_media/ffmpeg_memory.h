// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>

namespace zelvane {

/// A plane of 16384 x 8192 at 16 bits, or the index of sixty hours of sound.
constexpr std::size_t kLargestFFmpegAllocation = std::size_t{256} << 20;

/// Keeps FFmpeg from single allocations that no real file needs. Demuxers trust the lengths of
/// tables that a damaged file states: a few kilobytes of FLV ask for 2 GB. Once, before the first
/// file is opened; holds for the whole process.
void limitFFmpegAllocations();

} // namespace zelvane

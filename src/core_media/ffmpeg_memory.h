// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>

namespace zelvane {

/// Enough for a plane of 16384 x 8192 at 16 bits, or for the index of sixty hours of sound.
constexpr std::size_t kLargestFFmpegAllocation = std::size_t{256} << 20;

/// Limits FFmpeg's single allocations to what real files need. Demuxers trust the table lengths of
/// damaged files: a few kilobytes of FLV request 2 GB. Call it once, before the first file is
/// opened; it applies to the whole process.
void limitFFmpegAllocations();

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

/// Keeps FFmpeg from single allocations that no real file needs. Demuxers trust the lengths of
/// tables that a damaged file states: a few kilobytes of FLV ask for 2 GB. Once, before the first
/// file is opened; holds for the whole process.
void limitFFmpegAllocations();

} // namespace zelvane

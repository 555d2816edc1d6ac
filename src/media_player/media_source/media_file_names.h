// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

namespace zelvane {

/// The extensions of media files, sorted, in lower case and without their dot: those that the
/// demuxers of this FFmpeg state, and others that are in common use. Extensions that mostly belong
/// to pictures, texts or subtitles are left out. Any thread.
std::vector<std::string> mediaFileNameExtensions();

} // namespace zelvane

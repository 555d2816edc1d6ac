// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace zelvane {

/// Removes the STYLE and REGION blocks of a WebVTT text (W3C WebVTT, section 4.1): the demuxer
/// stops at the first of them and finds no cue after it. Does not change any other text.
void removeWebVTTBlocks(std::string& text);

} // namespace zelvane

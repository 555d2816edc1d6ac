// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace zelvane {

/// Takes the STYLE and REGION blocks out of a WebVTT text (W3C WebVTT, section 4.1): the demuxer
/// stops at the first of them and finds no cue behind it. Any other text stays as it is.
void removeWebVTTBlocks(std::string& text);

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

namespace zelvane {

/// The words of a dialogue line as libavcodec's subtitle decoders write it
/// ("ReadOrder,Layer,Style,Name,MarginL,MarginR,MarginV,Effect,Text"): override blocks dropped,
/// "\N" and "\n" turned into line feeds and "\h" into a no-break space. A line with fewer fields
/// has no words.
std::string plainTextOfASSDialogue(std::string_view dialogue);

} // namespace zelvane

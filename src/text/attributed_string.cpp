// SPDX-License-Identifier: GPL-3.0-or-later
#include "text/attributed_string.h"

namespace zelvane {

void AttributedString::append(std::string_view text, const StringAttributes& attributes) {
    if (text.empty()) {
        return;
    }
    if (!runs_.empty() && runs_.back().attributes == attributes) {
        runs_.back().length += text.size();
    } else {
        runs_.push_back({text_.size(), text.size(), attributes});
    }
    text_ += text;
}

} // namespace zelvane

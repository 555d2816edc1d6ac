// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "text/string_attributes.h"

namespace zelvane {

/// Text with attributes for each run. A value while one thread builds it; shared between threads as
/// an AttributedStringRef.
class AttributedString {
  public:
    /// A piece of the text with equal attributes, in bytes of UTF-8. Runs are adjacent and not
    /// empty, and cover the text.
    struct Run {
        std::size_t location = 0;
        std::size_t length = 0;
        StringAttributes attributes;

        friend bool operator==(const Run&, const Run&) = default;
    };

    AttributedString() = default;
    AttributedString(std::string_view text, const StringAttributes& attributes) {
        append(text, attributes);
    }

    /// Appends UTF-8 text; extends the last run if the attributes are equal.
    void append(std::string_view text, const StringAttributes& attributes);

    /// Calls `edit(StringAttributes&)` for the attributes of each run.
    template <class Edit>
    void updateAttributes(Edit&& edit) {
        for (Run& run : runs_) {
            edit(run.attributes);
        }
    }

    const std::string& text() const { return text_; }
    const std::vector<Run>& runs() const { return runs_; }
    std::string_view textOf(const Run& run) const {
        return std::string_view(text_).substr(run.location, run.length);
    }

    friend bool operator==(const AttributedString&, const AttributedString&) = default;

  private:
    std::string text_;
    std::vector<Run> runs_;
};

using AttributedStringRef = std::shared_ptr<const AttributedString>;

} // namespace zelvane

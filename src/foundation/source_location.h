// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

namespace zelvane {

/// Where a checked call stands. std::source_location would do, but the clang that runs the linter
/// and the fuzzers does not have it.
struct SourceLocation {
    std::string_view file;
    std::string_view function;
    int line = 0;

    static constexpr SourceLocation current(const char* file = __builtin_FILE(),
                                            const char* function = __builtin_FUNCTION(),
                                            int line = __builtin_LINE()) {
        std::string_view path(file);
        const auto slash = path.rfind('/');
        return {slash == std::string_view::npos ? path : path.substr(slash + 1), function, line};
    }
};

} // namespace zelvane

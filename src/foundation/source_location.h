// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

namespace zelvane {

/// The source location of a checked call. std::source_location is missing in the clang version that
/// runs the linter and the fuzzers.
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

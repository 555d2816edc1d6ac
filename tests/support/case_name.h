// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cctype>
#include <string>
#include <type_traits>

namespace zelvane::test {

/// The last argument of INSTANTIATE_TEST_SUITE_P: names each test after its case. The case is a
/// text, a pair that begins with one, or has a member `name`. What gtest does not allow becomes
/// '_'.
inline constexpr auto caseName = [](const auto& info) {
    const auto& test = info.param;
    std::string name;
    if constexpr (std::is_convertible_v<decltype(test), std::string>) {
        name = test;
    } else if constexpr (requires { test.first; }) {
        name = test.first;
    } else {
        name = test.name;
    }
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return name;
};

} // namespace zelvane::test

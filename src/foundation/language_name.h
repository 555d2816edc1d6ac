// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zelvane {

/// The name of a language in another language: "Deutsch" for "de" in "de-AT". Both are BCP 47 tags.
/// None where CLDR has no name. Any thread.
std::optional<std::string> languageName(std::string_view code, std::string_view displayLanguage);

} // namespace zelvane

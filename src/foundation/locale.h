// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zelvane {

/// The canonical form of a language tag, so that "eng", "en" and "EN" compare equal: BCP 47 with
/// CLDR's aliases ("ger" and "deu" give "de", "en_us" gives "en-US"). Other text is returned
/// unchanged.
std::string canonicalLanguageIdentifier(std::string_view identifier);

/// The user's languages from LANGUAGE, LC_ALL, LC_MESSAGES and LANG, in order of preference,
/// canonical, each regional one followed by its language ("de-AT", "de"). "en" if the environment
/// names none.
std::vector<std::string> preferredLanguagesFromEnvironment();

} // namespace zelvane

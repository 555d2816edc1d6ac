// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zelvane {

/// One canonical form of a language tag, so that "eng", "en" and "EN" compare equal: BCP 47 through
/// CLDR's aliases ("ger" and "deu" give "de", "en_us" gives "en-US"). What is no language tag comes
/// back as it was.
std::string canonicalLanguageIdentifier(std::string_view identifier);

/// The user's languages from LANGUAGE, LC_ALL, LC_MESSAGES and LANG, best first, canonical, the
/// bare language after each regional one ("de-AT", "de"). "en" when the environment names none.
std::vector<std::string> preferredLanguagesFromEnvironment();

} // namespace zelvane

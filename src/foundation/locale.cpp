// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/locale.h"

#include <algorithm>
#include <cstdlib>

#include <unicode/locid.h>

namespace zelvane {
namespace {

/// "de_AT" of "de_AT.UTF-8@euro".
std::string_view withoutEncoding(std::string_view locale) {
    return locale.substr(0, locale.find_first_of(".@"));
}

std::string_view environment(const char* name) {
    const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe)
    return value == nullptr ? std::string_view() : std::string_view(value);
}

void appendLanguage(std::vector<std::string>& languages, std::string_view locale) {
    const std::string_view tag = withoutEncoding(locale);
    if (tag.empty() || tag == "C" || tag == "POSIX") {
        return;
    }
    const std::string canonical = canonicalLanguageIdentifier(tag);
    for (const std::string& candidate : {canonical, canonical.substr(0, canonical.find('-'))}) {
        if (std::find(languages.begin(), languages.end(), candidate) == languages.end()) {
            languages.push_back(candidate);
        }
    }
}

} // namespace

std::string canonicalLanguageIdentifier(std::string_view identifier) {
    std::string name(identifier);
    UErrorCode status = U_ZERO_ERROR;
    const icu::Locale locale = icu::Locale::createCanonical(name.c_str());
    auto tag = locale.toLanguageTag<std::string>(status);
    if (U_FAILURE(status) != 0 || tag.empty() || tag == "und") {
        return name;
    }
    return tag;
}

std::vector<std::string> preferredLanguagesFromEnvironment() {
    std::vector<std::string> languages;
    std::string_view list = environment("LANGUAGE");
    while (!list.empty()) {
        const auto colon = list.find(':');
        appendLanguage(languages, list.substr(0, colon));
        list = colon == std::string_view::npos ? std::string_view() : list.substr(colon + 1);
    }
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (!environment(name).empty()) {
            appendLanguage(languages, environment(name));
            break;
        }
    }
    if (languages.empty()) {
        languages.emplace_back("en");
    }
    return languages;
}

} // namespace zelvane

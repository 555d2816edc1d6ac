// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/language_name.h"

#include <unicode/locid.h>
#include <unicode/unistr.h>

namespace zelvane {
namespace {

std::optional<icu::Locale> localeFor(std::string_view tag) {
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale locale =
        icu::Locale::forLanguageTag({tag.data(), static_cast<std::int32_t>(tag.size())}, status);
    return U_FAILURE(status) != 0 ? std::nullopt : std::optional(locale);
}

} // namespace

std::optional<std::string> languageName(std::string_view code, std::string_view displayLanguage) {
    const auto locale = localeFor(code);
    if (!locale || std::string_view(locale->getLanguage()).empty()) {
        return std::nullopt;
    }
    icu::UnicodeString name;
    locale->getDisplayLanguage(localeFor(displayLanguage).value_or(icu::Locale::getEnglish()),
                               name);
    std::string text;
    name.toUTF8String(text);
    // ICU repeats the code of a language that it does not know.
    return text == locale->getLanguage() ? std::nullopt : std::optional(text);
}

} // namespace zelvane

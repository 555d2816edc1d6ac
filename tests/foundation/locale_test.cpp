// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/locale.h"

namespace zelvane {
namespace {

TEST(CanonicalLanguage, isTheSameForAllFormsOfALanguage) {
    const std::vector<std::pair<std::string, std::string>> cases{
        {"eng", "en"},      {"en", "en"},           {"EN", "en"},
        {"en_us", "en-US"}, {"ger", "de"},          {"deu", "de"},
        {"chi", "zh"},      {"zho", "zh"},          {"fre", "fr"},
        {"fra", "fr"},      {"jpn", "ja"},          {"cze", "cs"},
        {"pt-BR", "pt-BR"}, {"zh-Hant", "zh-Hant"}, {"fil", "fil"},
        {"mis", "mis"},     {"und", "und"},         {"", ""},
        {"zh_tw", "zh-TW"}, {"rum", "ro"},          {"not a language", "not a language"},
    };
    for (const auto& [written, canonical] : cases) {
        EXPECT_EQ(canonicalLanguageIdentifier(written), canonical) << written;
    }
    const std::string longText(100000, 'x');
    EXPECT_EQ(canonicalLanguageIdentifier(longText), longText);
}

constexpr std::array kVariables{"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"};
/// Values of kVariables; null for an unset one.
using Environment = std::array<const char*, 4>;

void setEnvironment(const Environment& values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i] == nullptr) {
            unsetenv(kVariables[i]); // NOLINT(concurrency-mt-unsafe)
        } else {
            setenv(kVariables[i], values[i], 1); // NOLINT(concurrency-mt-unsafe)
        }
    }
}

TEST(PreferredLanguages, areThoseOfTheEnvironmentInItsOrder) {
    const std::vector<std::pair<Environment, std::vector<std::string>>> cases{
        {{}, {"en"}},
        {{nullptr, nullptr, nullptr, "C.UTF-8"}, {"en"}},
        {{nullptr, nullptr, nullptr, "de_AT.UTF-8@euro"}, {"de-AT", "de"}},
        {{nullptr, "fr_FR", nullptr, "de_DE.UTF-8"}, {"fr-FR", "fr"}},
        {{nullptr, nullptr, "POSIX", "de_DE"}, {"en"}},
        {{"sv:nb_NO:sv", nullptr, nullptr, "de_DE.UTF-8"}, {"sv", "nb-NO", "nb", "de-DE", "de"}},
    };
    for (const auto& [environment, languages] : cases) {
        setEnvironment(environment);
        EXPECT_EQ(preferredLanguagesFromEnvironment(), languages);
    }
    setEnvironment({});
}

} // namespace
} // namespace zelvane

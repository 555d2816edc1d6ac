// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/locale.h"

namespace zelvane {
namespace {

TEST(CanonicalLanguage, isOneFormForAllWaysToWriteIt) {
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
    const std::string absurd(100000, 'x');
    EXPECT_EQ(canonicalLanguageIdentifier(absurd), absurd);
}

/// Sets the variables that languages come from, and puts them back.
class LanguageEnvironment {
  public:
    explicit LanguageEnvironment(const std::map<std::string, std::string>& variables) {
        for (const char* name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
            if (const char* value = std::getenv(name)) { // NOLINT(concurrency-mt-unsafe)
                saved_[name] = value;
            }
            unsetenv(name); // NOLINT(concurrency-mt-unsafe)
        }
        set(variables);
    }
    ~LanguageEnvironment() {
        for (const char* name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
            unsetenv(name); // NOLINT(concurrency-mt-unsafe)
        }
        set(saved_);
    }
    LanguageEnvironment(const LanguageEnvironment&) = delete;
    LanguageEnvironment& operator=(const LanguageEnvironment&) = delete;

  private:
    static void set(const std::map<std::string, std::string>& variables) {
        for (const auto& [name, value] : variables) {
            setenv(name.c_str(), value.c_str(), 1); // NOLINT(concurrency-mt-unsafe)
        }
    }
    std::map<std::string, std::string> saved_;
};

TEST(PreferredLanguages, comeFromTheEnvironmentBestFirst) {
    using Variables = std::map<std::string, std::string>;
    struct Case {
        Variables variables;
        std::vector<std::string> languages;
    };
    const std::vector<Case> cases{
        {{}, {"en"}},
        {{{"LANG", "C.UTF-8"}}, {"en"}},
        {{{"LANG", "de_AT.UTF-8@euro"}}, {"de-AT", "de"}},
        {{{"LANG", "de_DE.UTF-8"}, {"LC_ALL", "fr_FR"}}, {"fr-FR", "fr"}},
        {{{"LANG", "de_DE"}, {"LC_MESSAGES", "POSIX"}}, {"en"}},
        {{{"LANG", "de_DE.UTF-8"}, {"LANGUAGE", "sv:nb_NO:sv"}},
         {"sv", "nb-NO", "nb", "de-DE", "de"}},
    };
    for (const auto& [variables, languages] : cases) {
        const LanguageEnvironment environment(variables);
        EXPECT_EQ(preferredLanguagesFromEnvironment(), languages);
    }
}

} // namespace
} // namespace zelvane

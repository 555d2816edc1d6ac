// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/text_plausibility.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include <unicode/uchar.h>
#include <unicode/uscript.h>
#include <unicode/utf8.h>

namespace zelvane {
namespace {

// Weights of oddness, in characters.
constexpr double kMeaningless = 4;
constexpr double kOutOfPlace = 1;
constexpr double kOfAnotherLanguage = 0.5;

/// The characters that Chinese text repeats most, in both of its scripts.
constexpr std::u32string_view kCommonHan =
    U"的一是不了人我在有他这這个個们們中来來上大为為和国國地到以说說时時要就出会會可也你对對生能而"
    U"子那"
    U"得于於着著下自之年过過发發后後作里裡用道行所然家种種事成方多么麼去好什没沒";

enum class Language { other, chinese, japanese, korean };

Language languageOf(std::string_view encoding) {
    struct Entry {
        std::string_view encoding;
        Language language;
    };
    constexpr std::array<Entry, 14> kLanguages{{
        {"GB18030", Language::chinese},
        {"GB2312", Language::chinese},
        {"GBK", Language::chinese},
        {"BIG5", Language::chinese},
        {"BIG5-HKSCS", Language::chinese},
        {"CP950", Language::chinese},
        {"EUC-TW", Language::chinese},
        {"EUC-JP", Language::japanese},
        {"SHIFT_JIS", Language::japanese},
        {"CP932", Language::japanese},
        {"ISO-2022-JP", Language::japanese},
        {"EUC-KR", Language::korean},
        {"UHC", Language::korean},
        {"JOHAB", Language::korean},
    }};
    const auto* const found = std::find_if(kLanguages.begin(), kLanguages.end(),
                                           [&](const auto& e) { return e.encoding == encoding; });
    return found == kLanguages.end() ? Language::other : found->language;
}

/// One character and its neighbours' properties.
struct Character {
    explicit Character(UChar32 value = ' ')
        : code(value), category(u_charType(value)), script(scriptOf(value)) {}

    static UScriptCode scriptOf(UChar32 value) {
        UErrorCode status = U_ZERO_ERROR;
        return uscript_getScript(value, &status);
    }

    bool isASCII() const { return code < 0x80; }
    bool isLetter() const { return u_isalpha(code) != 0; }
    bool isCapital() const { return category == U_UPPERCASE_LETTER; }
    bool isSmall() const { return category == U_LOWERCASE_LETTER; }
    bool isMeaningless() const {
        return code == 0xfffd || category == U_UNASSIGNED || category == U_PRIVATE_USE_CHAR ||
               (category == U_CONTROL_CHAR && !isASCII());
    }
    bool hasScript() const {
        return isLetter() && script != USCRIPT_COMMON && script != USCRIPT_INHERITED;
    }
    bool isEastAsian() const {
        return script == USCRIPT_HAN || script == USCRIPT_HIRAGANA || script == USCRIPT_KATAKANA ||
               script == USCRIPT_HANGUL || script == USCRIPT_BOPOMOFO;
    }
    /// Characters of words beside letters: marks, the apostrophe, hyphens, joiners, the Catalan
    /// dot.
    bool joinsLetters() const {
        return isLetter() || category == U_NON_SPACING_MARK || category == U_FORMAT_CHAR ||
               category == U_DASH_PUNCTUATION || category == U_MODIFIER_LETTER || code == 0x2019 ||
               code == 0xb7;
    }

    UChar32 code;
    std::int8_t category;
    UScriptCode script;
};

/// The oddness of adjacent letters, one of them at least outside ASCII.
double oddPair(const Character& left, const Character& right) {
    if ((left.isASCII() && right.isASCII()) || !left.hasScript() || !right.hasScript()) {
        return 0;
    }
    if (left.isEastAsian() || right.isEastAsian()) {
        // In these scripts, lines often contain Latin words.
        return 0;
    }
    const bool isMixed = left.script != right.script;
    return isMixed || (left.isSmall() && right.isCapital()) ? kOutOfPlace : 0;
}

/// The oddness of a character among its neighbours.
double oddAlone(const Character& left, const Character& it, const Character& right) {
    if (it.isMeaningless()) {
        return kMeaningless;
    }
    const bool isWithinWord =
        left.isLetter() && right.isLetter() && !left.isEastAsian() && !right.isEastAsian();
    return !it.isASCII() && isWithinWord && !it.joinsLetters() ? kOutOfPlace : 0;
}

class Survey {
  public:
    explicit Survey(std::string_view utf8) {
        Character left;
        Character it;
        std::size_t position = 0;
        while (position < utf8.size()) {
            UChar32 code = 0;
            U8_NEXT_OR_FFFD(utf8.data(), position, utf8.size(), code);
            const Character right(code);
            look(left, it, right);
            left = it;
            it = right;
        }
        look(left, it, Character());
    }

    double oddness(Language language) const {
        return foreign_ == 0
                   ? 0
                   : (oddness_ + oddnessOfLanguage(language)) / static_cast<double>(foreign_);
    }

  private:
    void look(const Character& left, const Character& it, const Character& right) {
        oddness_ += oddAlone(left, it, right) + oddPair(left, it);
        foreign_ += it.isASCII() ? 0 : 1;
        count(it);
    }

    void count(const Character& it) {
        if (it.script == USCRIPT_HAN) {
            ++han_;
            commonHan_ += kCommonHan.find(it.code) != std::u32string_view::npos ? 1 : 0;
        } else if (it.script == USCRIPT_HIRAGANA || it.script == USCRIPT_KATAKANA) {
            const bool isHalfWidth = it.code >= 0xff61 && it.code <= 0xff9f;
            ++(isHalfWidth ? halfWidthKana_ : kana_);
        } else if (it.script == USCRIPT_HANGUL) {
            ++hangul_;
        }
    }

    double oddnessOfLanguage(Language language) const {
        const auto odd = [](std::size_t count) {
            return kOfAnotherLanguage * static_cast<double>(count);
        };
        switch (language) {
        case Language::chinese:
            // The few dozen most frequent characters make a quarter of ordinary text. If they are
            // present, kana belong to the second language of a bilingual file.
            return commonHan_ * 15 < han_ ? odd(han_ + kana_) + odd(halfWidthKana_ + hangul_)
                                          : odd(halfWidthKana_ + hangul_);
        case Language::japanese:
            return odd(halfWidthKana_ + hangul_) + (kana_ * 10 < han_ ? odd(han_) : 0);
        case Language::korean:
            return odd(kana_ + halfWidthKana_) + (hangul_ < han_ ? odd(han_) : 0);
        case Language::other:
            return 0;
        }
        return 0;
    }

    double oddness_ = 0;
    std::size_t foreign_ = 0;
    std::size_t han_ = 0;
    std::size_t commonHan_ = 0;
    std::size_t kana_ = 0;
    std::size_t halfWidthKana_ = 0;
    std::size_t hangul_ = 0;
};

} // namespace

double oddness(std::string_view utf8, std::string_view encoding) {
    return Survey(utf8).oddness(languageOf(encoding));
}

} // namespace zelvane

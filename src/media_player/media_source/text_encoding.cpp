// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/text_encoding.h"

#include <algorithm>
#include <array>
#include <span>
#include <vector>

#include "foundation/character_encoding.h"
#include "foundation/text.h"
#include "media_player/media_source/bare_words.h"
#include "media_player/media_source/text_plausibility.h"

namespace zelvane {
namespace {

constexpr std::size_t kSampleSize = std::size_t{64} * 1024;
/// More than the words of ten films: beyond this the statistics do not change, and take a second
/// for every few megabytes.
constexpr std::size_t kStatisticsSize = std::size_t{1024} * 1024;

using Family = std::vector<std::string_view>;

/// Encodings of one language or alphabet, the likelier ones first.
const std::array<Family, 10>& families() {
    static const std::array<Family, 10> kFamilies{{
        {"WINDOWS-1252", "ISO-8859-15", "MACINTOSH", "IBM850"},
        {"WINDOWS-1250", "ISO-8859-2", "MAC-CENTRALEUROPE", "IBM852"},
        {"WINDOWS-1251", "KOI8-R", "IBM866", "ISO-8859-5", "MAC-CYRILLIC"},
        {"WINDOWS-1253", "ISO-8859-7"},
        {"WINDOWS-1254", "WINDOWS-1252", "ISO-8859-3"},
        {"WINDOWS-1255", "ISO-8859-8"},
        {"WINDOWS-1256", "ISO-8859-6"},
        {"WINDOWS-1257", "ISO-8859-13", "ISO-8859-4"},
        {"WINDOWS-1258"},
        {"GB18030", "BIG5", "BIG5-HKSCS", "CP932", "EUC-JP", "UHC"},
    }};
    return kFamilies;
}

/// The rivals of a detected encoding; all encodings when none was detected.
Family rivals(const std::string& guess) {
    Family found;
    for (const Family& family : families()) {
        if (guess.empty() || std::find(family.begin(), family.end(), guess) != family.end()) {
            found.insert(found.end(), family.begin(), family.end());
        }
    }
    return found;
}

constexpr double kUnreadable = 100;

double oddnessIn(std::string_view encoding, std::string_view sample) {
    return isKnownCharacterEncoding(std::string(encoding))
               ? oddness(decodedText(sample, encoding).text, encoding)
               : kUnreadable;
}

/// The detected encoding, or the rival in which the sample is clearly less odd.
std::string bestReading(const std::string& guess, std::string_view sample) {
    // The oddness of ordinary text: typing errors, names of brands.
    constexpr double kOrdinaryOddness = 0.02;
    constexpr double kClearly = 0.5;
    std::string best = guess;
    double least = guess.empty() ? kUnreadable : oddnessIn(guess, sample);
    if (least <= kOrdinaryOddness) {
        return guess;
    }
    least *= kClearly;
    for (const std::string_view rival : rivals(guess)) {
        const double odd = rival == guess ? least : oddnessIn(rival, sample);
        if (odd < least) {
            least = odd;
            best = rival;
        }
    }
    return best;
}

/// Of the encodings in which the sample is the same text, the likeliest: the text may be longer
/// than its sample.
std::string likeliestOfSameReading(const std::string& encoding, std::string_view sample) {
    const std::string text = decodedText(sample, encoding).text;
    for (const std::string_view rival : rivals(encoding)) {
        if (rival == encoding || decodedText(sample, rival).text == text) {
            return std::string(rival);
        }
    }
    return encoding;
}

bool isHigh(char byte) {
    return static_cast<unsigned char>(byte) >= 0x80;
}

/// The number of characters outside ASCII.
std::size_t foreignCharacters(std::string_view utf8) {
    return static_cast<std::size_t>(std::count_if(utf8.begin(), utf8.end(), [](char byte) {
        return static_cast<unsigned char>(byte) >= 0xc0;
    }));
}

} // namespace

bool TextEncodingEvidence::add(std::string_view bytes) {
    isEmpty_ = isEmpty_ && bytes.find_first_not_of(" \t\r\n") == std::string_view::npos;
    isASCII_ = isASCII_ && std::none_of(bytes.begin(), bytes.end(), isHigh);
    isUTF8_ = isUTF8_ && (isASCII_ || isValidUTF8(bytes));
    std::string words;
    appendBareWords(bytes, words);
    sample_.append(words, 0, kSampleSize - std::min(kSampleSize, sample_.size()));
    // Text that is UTF-8 so far needs no statistics; escape sequences are plain ASCII.
    if (isUTF8_ && !isASCII_) {
        return true;
    }
    words.resize(std::min(words.size(), kStatisticsSize - statisticsSize_));
    statisticsSize_ += words.size();
    return words.empty() || detector_.analyzeNextChunk(words);
}

std::optional<std::string> TextEncodingEvidence::encoding() {
    auto guess = detector_.finish();
    if (guess && !isKnownCharacterEncoding(*guess)) {
        guess.reset();
    }
    if (isEmpty_) {
        return std::nullopt;
    }
    if (isASCII_) {
        return guess.value_or("ASCII");
    }
    if (isUTF8_ || isNearlyUTF8()) {
        return "UTF-8";
    }
    const std::string best = bestReading(effectiveCharacterEncoding(guess.value_or("")), sample_);
    return likeliestOfSameReading(best, sample_);
}

bool TextEncodingEvidence::isNearlyUTF8() const {
    constexpr std::size_t kRightForOneWrong = 8;
    const DecodedText decoded = decodedText(sample_, "UTF-8");
    // Each replacement character is a character outside ASCII too.
    const std::size_t right = foreignCharacters(decoded.text) - decoded.malformedCount;
    return decoded.malformedCount * kRightForOneWrong <= right;
}

} // namespace zelvane

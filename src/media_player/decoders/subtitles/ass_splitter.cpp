// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/subtitles/ass_splitter.h"

#include <algorithm>
#include <limits>
#include <type_traits>
#include <variant>

#include "foundation/text.h"
#include "media_player/decoders/subtitles/text_scanner.h"

namespace zelvane {
namespace {

using Text = std::optional<std::string>;

struct Time {};
struct LegacyAlignment {};

/// The member that receives the value of a column, and the notation of the value if the type does
/// not determine it.
template <class Record>
struct Field {
    std::string_view name;
    std::variant<Text Record::*, std::int32_t Record::*, std::uint32_t Record::*, float Record::*>
        member;
    std::variant<std::monostate, Time, LegacyAlignment> notation;
};

using Info = ASSScriptInfoRecord;
using Style = ASSStyleRecord;
using Dialog = ASSDialogRecord;

constexpr std::array<Field<Info>, 5> kScriptInfoFields{{
    {"ScriptType", &Info::ScriptType, {}},
    {"Collisions", &Info::Collisions, {}},
    {"PlayResX", &Info::PlayResX, {}},
    {"PlayResY", &Info::PlayResY, {}},
    {"Timer", &Info::Timer, {}},
}};

constexpr std::array<Field<Style>, 23> kStyleFields{{
    {"Name", &Style::Name, {}},
    {"Fontname", &Style::Fontname, {}},
    {"Fontsize", &Style::Fontsize, {}},
    {"PrimaryColour", &Style::PrimaryColour, {}},
    {"SecondaryColour", &Style::SecondaryColour, {}},
    {"OutlineColour", &Style::OutlineColour, {}},
    {"BackColour", &Style::BackColour, {}},
    {"Bold", &Style::Bold, {}},
    {"Italic", &Style::Italic, {}},
    {"Underline", &Style::Underline, {}},
    {"StrikeOut", &Style::StrikeOut, {}},
    {"ScaleX", &Style::ScaleX, {}},
    {"ScaleY", &Style::ScaleY, {}},
    {"Spacing", &Style::Spacing, {}},
    {"Angle", &Style::Angle, {}},
    {"BorderStyle", &Style::BorderStyle, {}},
    {"Outline", &Style::Outline, {}},
    {"Shadow", &Style::Shadow, {}},
    {"Alignment", &Style::Alignment, {}},
    {"MarginL", &Style::MarginL, {}},
    {"MarginR", &Style::MarginR, {}},
    {"MarginV", &Style::MarginV, {}},
    {"Encoding", &Style::Encoding, {}},
}};

constexpr std::array<Field<Style>, 18> kLegacyStyleFields{{
    {"Name", &Style::Name, {}},
    {"Fontname", &Style::Fontname, {}},
    {"Fontsize", &Style::Fontsize, {}},
    {"PrimaryColour", &Style::PrimaryColour, {}},
    {"SecondaryColour", &Style::SecondaryColour, {}},
    {"TertiaryColour", &Style::OutlineColour, {}},
    {"BackColour", &Style::BackColour, {}},
    {"Bold", &Style::Bold, {}},
    {"Italic", &Style::Italic, {}},
    {"BorderStyle", &Style::BorderStyle, {}},
    {"Outline", &Style::Outline, {}},
    {"Shadow", &Style::Shadow, {}},
    {"Alignment", &Style::Alignment, LegacyAlignment{}},
    {"MarginL", &Style::MarginL, {}},
    {"MarginR", &Style::MarginR, {}},
    {"MarginV", &Style::MarginV, {}},
    {"AlphaLevel", &Style::AlphaLevel, {}},
    {"Encoding", &Style::Encoding, {}},
}};

constexpr std::array<Field<Dialog>, 10> kDialogFields{{
    {"Layer", &Dialog::Layer, {}},
    {"Start", &Dialog::Start, Time{}},
    {"End", &Dialog::End, Time{}},
    {"Style", &Dialog::Style, {}},
    {"Name", &Dialog::Name, {}},
    {"MarginL", &Dialog::MarginL, {}},
    {"MarginR", &Dialog::MarginR, {}},
    {"MarginV", &Dialog::MarginV, {}},
    {"Effect", &Dialog::Effect, {}},
    {"Text", &Dialog::Text, {}},
}};

/// The keys are empty for a section without data lines.
struct Section {
    std::string_view name;
    std::string_view formatKey;
    std::string_view dataKey;
};

enum SectionIndex { kScriptInfo, kStyles, kLegacyStyles, kEvents };

constexpr std::array<Section, 4> kSections{{
    {"Script Info", "", ""},
    {"V4+ Styles", "Format", "Style"},
    {"V4 Styles", "Format", "Style"},
    {"Events", "Format", "Dialogue"},
}};

constexpr std::size_t kMaximumSectionNameLength = 15;
constexpr std::string_view kLineEnds("\r\n");
constexpr std::string_view kColumnEnds(",\r\n");

/// Calls `use` with the fields of a section.
template <class Use>
auto withFields(int section, Use&& use) {
    switch (section) {
    case kScriptInfo:
        return use(std::span<const Field<Info>>(kScriptInfoFields));
    case kStyles:
        return use(std::span<const Field<Style>>(kStyleFields));
    case kLegacyStyles:
        return use(std::span<const Field<Style>>(kLegacyStyleFields));
    default:
        return use(std::span<const Field<Dialog>>(kDialogFields));
    }
}

std::size_t lengthUpTo(std::string_view text, std::string_view ends) {
    return std::min(text.find_first_of(ends), text.size());
}

std::string_view nextLine(std::string_view text) {
    const auto end = text.find('\n');
    return end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
}

bool beginsWithKey(std::string_view line, std::string_view key) {
    return line.size() > key.size() && line.substr(0, key.size()) == key && line[key.size()] == ':';
}

void assign(Text& member, std::string_view text, std::size_t length) {
    member = std::string(text.substr(0, length));
}

void assign(float& member, std::string_view text, std::size_t /*length*/) {
    member = TextScanner(text).floatingPoint().value_or(member);
}

void assign(std::int32_t& member, std::string_view text, std::size_t /*length*/) {
    member = TextScanner(text).decimal().value_or(member);
}

/// "&H%8x", or a decimal number.
void assign(std::uint32_t& member, std::string_view text, std::size_t /*length*/) {
    TextScanner hexadecimal(text);
    hexadecimal.literal("&H");
    const auto value = hexadecimal.hexadecimal(8);
    member = value ? *value : TextScanner(text).unsignedDecimal().value_or(member);
}

/// "%d:%02d:%02d.%02d", to the hundredths.
void assignTime(std::int32_t& member, std::string_view text) {
    TextScanner scanner(text);
    const auto hours = scanner.decimal();
    scanner.literal(":");
    const auto minutes = scanner.decimal(2);
    scanner.literal(":");
    const auto seconds = scanner.decimal(2);
    scanner.literal(".");
    const auto hundredths = scanner.decimal(2);
    if (!scanner.hasMatched()) {
        return;
    }
    const std::int64_t time =
        std::int64_t{*hours} * 360000 + *minutes * 6000 + *seconds * 100 + *hundredths;
    using Limits = std::numeric_limits<std::int32_t>;
    member =
        static_cast<std::int32_t>(std::clamp<std::int64_t>(time, Limits::min(), Limits::max()));
}

/// SSA counts the columns of each row from 1; the rows are 0 for the bottom, 4 for the top and 8
/// for the middle.
void assignLegacyAlignment(std::int32_t& member, std::string_view text) {
    const auto code = TextScanner(text).decimal();
    if (!code) {
        return;
    }
    const auto bits = static_cast<std::uint32_t>(*code);
    const std::int64_t alignment =
        std::int64_t{*code} + ((bits & 4U) >> 1U) - ((bits & 8U) != 0 ? 5 : 0);
    using Limits = std::numeric_limits<std::int32_t>;
    member = static_cast<std::int32_t>(
        std::clamp<std::int64_t>(alignment, Limits::min(), Limits::max()));
}

/// White space before a number may extend into the next line, so a number is read from the whole
/// rest; a text is exactly `length` bytes.
template <class Record>
void convert(Record& record, const Field<Record>& field, std::string_view text,
             std::size_t length) {
    std::visit(
        [&](auto member) {
            if constexpr (std::is_same_v<decltype(member), std::int32_t Record::*>) {
                if (std::holds_alternative<Time>(field.notation)) {
                    assignTime(record.*member, text);
                    return;
                }
                if (std::holds_alternative<LegacyAlignment>(field.notation)) {
                    assignLegacyAlignment(record.*member, text);
                    return;
                }
            }
            assign(record.*member, text, length);
        },
        field.member);
}

/// The section that a line "[name]" begins; -1 for any other line. The name is limited to the
/// length of a section name; a bracket and one more character must follow.
int sectionOfLine(std::string_view line) {
    if (line.empty() || line.front() != '[') {
        return -1;
    }
    const std::string_view name = line.substr(1, line.substr(1).find(']'));
    const bool isFollowed = line.size() > name.size() + 2;
    if (!isFollowed || name.size() > kMaximumSectionNameLength) {
        return -1;
    }
    const auto* const found = std::find_if(kSections.begin(), kSections.end(),
                                           [&](const Section& s) { return s.name == name; });
    return found == kSections.end() ? -1 : static_cast<int>(found - kSections.begin());
}

template <class Record>
int fieldNamed(std::span<const Field<Record>> fields, std::string_view name) {
    const auto found = std::find_if(fields.begin(), fields.end(),
                                    [&](const Field<Record>& field) { return field.name == name; });
    return found == fields.end() ? -1 : static_cast<int>(found - fields.begin());
}

/// Reads the columns of a data line; the last may contain commas.
template <class Record>
void readColumns(Record& record, std::span<const Field<Record>> fields,
                 const std::vector<int>& order, std::string_view text) {
    text = skippingBlanks(text);
    for (std::size_t i = 0; i < order.size(); ++i) {
        if (text.empty() || text.front() == '\r' || text.front() == '\n') {
            return;
        }
        const bool isLast = i + 1 == order.size();
        const std::size_t length = lengthUpTo(text, isLast ? kLineEnds : kColumnEnds);
        if (order[i] >= 0) {
            convert(record, fields[static_cast<std::size_t>(order[i])], text, length);
        }
        const bool hasComma = length < text.size() && text[length] == ',';
        text = skippingBlanks(text.substr(length + (hasComma ? 1 : 0)));
    }
}

template <class Record>
bool appendRecord(std::vector<Record>& records, std::span<const Field<Record>> fields,
                  const std::vector<int>& order, std::string_view text) {
    if (records.size() >= ASSSplitter::kMaximumRecordCount) {
        return false;
    }
    readColumns(records.emplace_back(), fields, order, text);
    return true;
}

} // namespace

std::unique_ptr<ASSSplitter> ASSSplitter::make(std::string_view header) {
    auto splitter = std::make_unique<ASSSplitter>();
    return splitter->split(header) ? std::move(splitter) : nullptr;
}

std::span<const ASSDialogRecord> ASSSplitter::splitDialogs(std::string_view text,
                                                           bool keepPrevious) {
    if (!keepPrevious) {
        dialogs_.clear();
    }
    const std::size_t previous = dialogs_.size();
    if (!split(text)) {
        return {};
    }
    return std::span<const ASSDialogRecord>(dialogs_).subspan(previous);
}

bool ASSSplitter::split(std::string_view text) {
    text = text.substr(0, text.find('\0'));
    if (currentSection_ >= 0 && !splitSection(text)) {
        return false;
    }
    while (!text.empty()) {
        const int section = sectionOfLine(text.substr(0, kMaximumSectionNameLength + 3));
        text = nextLine(text);
        if (section >= 0) {
            currentSection_ = section;
            if (!splitSection(text)) {
                return false;
            }
        }
    }
    return true;
}

/// Continues up to the next section, or to the end of the text.
bool ASSSplitter::splitSection(std::string_view& text) {
    while (!text.empty()) {
        if (text.front() == '[') {
            currentSection_ = -1;
            return true;
        }
        const bool isComment = text.front() == ';' || text.substr(0, 2) == "!:";
        if (!isComment && !splitLine(text)) {
            return false;
        }
        text = nextLine(text);
    }
    return true;
}

bool ASSSplitter::splitLine(std::string_view text) {
    resumeSectionOfKey(text);
    const auto index = static_cast<std::size_t>(currentSection_);
    const Section& section = kSections.at(index);
    if (section.dataKey.empty()) {
        readKeyValue(text);
        return true;
    }
    if (fieldOrder_.at(index).empty() && beginsWithKey(text, section.formatKey)) {
        orderColumns(text.substr(section.formatKey.size() + 1));
        return true;
    }
    return !beginsWithKey(text, section.dataKey) ||
           readDataLine(text.substr(section.dataKey.size() + 1));
}

/// The key of another section's data line makes that section current.
void ASSSplitter::resumeSectionOfKey(std::string_view line) {
    const std::size_t length = lengthUpTo(line, ":\r\n");
    const std::string_view key = line.substr(0, length);
    const bool isKey = length < line.size() && line[length] == ':';
    const std::string_view dataKey =
        kSections.at(static_cast<std::size_t>(currentSection_)).dataKey;
    // A section without a data key has no key of its own; the empty key is the start of any.
    if (!isKey || (!dataKey.empty() && key == dataKey)) {
        return;
    }
    const auto* const found =
        std::find_if(kSections.begin(), kSections.end(), [&](const Section& section) {
            return !section.dataKey.empty() && section.dataKey.substr(0, key.size()) == key;
        });
    if (found != kSections.end()) {
        currentSection_ = static_cast<int>(found - kSections.begin());
    }
}

void ASSSplitter::orderColumns(std::string_view text) {
    auto& order = fieldOrder_.at(static_cast<std::size_t>(currentSection_));
    text = skippingBlanks(text);
    while (!text.empty() && text.front() != '\r' && text.front() != '\n') {
        const std::size_t length = lengthUpTo(text, ", \r\n");
        const std::string_view name = text.substr(0, length);
        order.push_back(
            withFields(currentSection_, [&](auto fields) { return fieldNamed(fields, name); }));
        const bool hasComma = length < text.size() && text[length] == ',';
        text = skippingBlanks(text.substr(length + (hasComma ? 1 : 0)));
    }
}

void ASSSplitter::readKeyValue(std::string_view text) {
    const std::size_t length = lengthUpTo(text, ":\r\n");
    if (length == text.size() || text[length] != ':') {
        return;
    }
    const std::string_view key = text.substr(0, length);
    const auto* const field =
        std::find_if(kScriptInfoFields.begin(), kScriptInfoFields.end(),
                     [&](const auto& f) { return f.name.substr(0, key.size()) == key; });
    if (field != kScriptInfoFields.end()) {
        const std::string_view value = skippingBlanks(text.substr(length + 1));
        convert(scriptInfo_, *field, value, lengthUpTo(value, kLineEnds));
    }
}

bool ASSSplitter::readDataLine(std::string_view text) {
    auto& order = fieldOrder_.at(static_cast<std::size_t>(currentSection_));
    if (order.empty()) {
        const auto count = withFields(currentSection_, [](auto fields) { return fields.size(); });
        for (std::size_t i = 0; i < count; ++i) {
            order.push_back(static_cast<int>(i));
        }
    }
    switch (currentSection_) {
    case kStyles:
        return appendRecord<Style>(styles_, kStyleFields, order, text);
    case kLegacyStyles:
        return appendRecord<Style>(styles_, kLegacyStyleFields, order, text);
    default:
        return appendRecord<Dialog>(dialogs_, kDialogFields, order, text);
    }
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zelvane {

struct ASSScriptInfoRecord {
    std::optional<std::string> ScriptType;
    std::optional<std::string> Collisions;
    std::int32_t PlayResX = 0;
    std::int32_t PlayResY = 0;
    float Timer = 0;
};

/// Members have the names of the columns. A text is absent if no column contained it.
struct ASSStyleRecord {
    std::optional<std::string> Name;
    std::optional<std::string> Fontname;
    std::int32_t Fontsize = 0;
    /// 0xAABBGGRR; an alpha of 0 is opaque.
    std::uint32_t PrimaryColour = 0;
    std::uint32_t SecondaryColour = 0;
    std::uint32_t OutlineColour = 0;
    std::uint32_t BackColour = 0;
    std::int32_t Bold = 0;
    std::int32_t Italic = 0;
    std::int32_t Underline = 0;
    std::int32_t StrikeOut = 0;
    float ScaleX = 0;
    float ScaleY = 0;
    float Spacing = 0;
    float Angle = 0;
    std::int32_t BorderStyle = 0;
    float Outline = 0;
    float Shadow = 0;
    /// A position of the numeric keypad.
    std::int32_t Alignment = 0;
    std::int32_t MarginL = 0;
    std::int32_t MarginR = 0;
    std::int32_t MarginV = 0;
    std::int32_t AlphaLevel = 0;
    std::int32_t Encoding = 0;
};

struct ASSDialogRecord {
    std::int32_t ReadOrder = 0;
    std::int32_t Layer = 0;
    /// In hundredths of a second.
    std::int32_t Start = 0;
    std::int32_t End = 0;
    std::optional<std::string> Style;
    std::optional<std::string> Name;
    std::int32_t MarginL = 0;
    std::int32_t MarginR = 0;
    std::int32_t MarginV = 0;
    std::optional<std::string> Effect;
    std::optional<std::string> Text;
};

/// Splits a script in ASS or SSA, line by line, into records. Skips unknown content. Keeps the
/// section and the order of columns between calls, so that dialogue lines may follow the header in
/// pieces. Linear in the length of the text, which ends at a NUL. Used by one thread at a time; the
/// styles are constant after creation.
class ASSSplitter {
  public:
    /// The limit of records of one kind; splitting a longer text fails.
    static constexpr std::size_t kMaximumRecordCount = 65536;

    /// A splitter without a header.
    ASSSplitter() = default;
    /// Null if the header cannot be split.
    static std::unique_ptr<ASSSplitter> make(std::string_view header);

    /// Splits more of the script, and returns the dialogues that it adds, which are valid until the
    /// next call. With `keepPrevious` they are appended to those of earlier calls. Empty when there
    /// is none, or the text cannot be split.
    std::span<const ASSDialogRecord> splitDialogs(std::string_view text, bool keepPrevious);

    const ASSScriptInfoRecord& scriptInfo() const { return scriptInfo_; }
    const std::vector<ASSStyleRecord>& styles() const { return styles_; }
    const std::vector<ASSDialogRecord>& dialogs() const { return dialogs_; }

  private:
    static constexpr std::size_t kSectionCount = 4;

    [[nodiscard]] bool split(std::string_view text);
    [[nodiscard]] bool splitSection(std::string_view& text);
    [[nodiscard]] bool splitLine(std::string_view text);
    void resumeSectionOfKey(std::string_view line);
    void orderColumns(std::string_view text);
    void readKeyValue(std::string_view text);
    [[nodiscard]] bool readDataLine(std::string_view text);

    ASSScriptInfoRecord scriptInfo_;
    std::vector<ASSStyleRecord> styles_;
    std::vector<ASSDialogRecord> dialogs_;
    /// Index into the table of sections; -1 between sections.
    int currentSection_ = -1;
    /// For each section and column of a data line: the index of its field, or -1. Empty until a
    /// line states the order.
    std::array<std::vector<int>, kSectionCount> fieldOrder_;
};

} // namespace zelvane

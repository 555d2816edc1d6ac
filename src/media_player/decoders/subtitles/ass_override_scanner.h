// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string_view>

namespace zelvane {

/// Receives what a scan of override codes finds, in the order of the text.
class ASSOverrideCallbacks {
  public:
    /// The value of a "\b", "\i", "\u" or "\s".
    enum class Switch { on, off, reset };
    /// The colour of a tag without a value.
    static constexpr std::uint32_t kNoColor = 0xffffffff;
    /// The value of an alpha, size or alignment tag that states none.
    static constexpr std::int32_t kNoValue = -1;

    virtual ~ASSOverrideCallbacks() = default;
    /// A piece of the text; any bytes.
    virtual void text(std::string_view bytes) = 0;
    /// `forced` is true for "\N".
    virtual void newLine(bool forced) = 0;
    virtual void style(char tag, Switch value) = 0;
    /// 0xAABBGGRR. `number` is the tag's number, 0 for "\c".
    virtual void color(std::uint32_t color, int number) = 0;
    /// 0 is opaque. `number` is the tag's number, 0 for "\alpha".
    virtual void alpha(std::int32_t alpha, int number) = 0;
    /// Empty to restore the style's font.
    virtual void fontName(std::string_view name) = 0;
    virtual void fontSize(std::int32_t size) = 0;
    /// A position of the numeric keypad.
    virtual void alignment(std::int32_t code) = 0;
    /// Empty to restore the line's style.
    virtual void cancelOverrides(std::string_view styleName) = 0;
};

/// Scans the text of a dialogue line for the override codes of ASS, up to a NUL. Returns 0, or
/// AVERROR_INVALIDDATA at the first malformed block. Matches and ignores tags that place or animate
/// text, and skips unknown ones. Linear in the length of the text.
int scanOverrideCodes(ASSOverrideCallbacks& callbacks, std::string_view text);

/// Converts an alignment of SSA's scheme, which the override tag uses, to a position of the numeric
/// keypad.
std::int32_t alignmentFromLegacyTag(std::uint32_t code);

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string_view>

namespace zelvane {

/// What a scan of override codes reports, in the order of the text.
class ASSOverrideCallbacks {
  public:
    /// What a "\b", "\i", "\u" or "\s" asks for.
    enum class Switch { on, off, reset };
    /// A colour tag without a value.
    static constexpr std::uint32_t kNoColor = 0xffffffff;
    /// An alpha, size or alignment tag without a value.
    static constexpr std::int32_t kNoValue = -1;

    virtual ~ASSOverrideCallbacks() = default;
    /// A piece of the text itself, bytes of any kind.
    virtual void text(std::string_view bytes) = 0;
    /// `forced` for "\N".
    virtual void newLine(bool forced) = 0;
    virtual void style(char tag, Switch value) = 0;
    /// 0xAABBGGRR. `number` is that of the tag, 0 for "\c".
    virtual void color(std::uint32_t color, int number) = 0;
    /// 0 for opaque. `number` is that of the tag, 0 for "\alpha".
    virtual void alpha(std::int32_t alpha, int number) = 0;
    /// Empty to go back to the style's font.
    virtual void fontName(std::string_view name) = 0;
    virtual void fontSize(std::int32_t size) = 0;
    /// As on a number pad.
    virtual void alignment(std::int32_t code) = 0;
    /// Empty to go back to the line's style.
    virtual void cancelOverrides(std::string_view styleName) = 0;
};

/// Walks the text of a dialogue line with the override codes of ASS in it, up to a NUL. Answers 0,
/// or AVERROR_INVALIDDATA as soon as a block is malformed. Tags that place or animate text are
/// matched and dropped, unknown ones are skipped. Linear in the length of the text.
int scanOverrideCodes(ASSOverrideCallbacks& callbacks, std::string_view text);

/// The alignment of SSA's scheme, as the override tag has it, on a number pad.
std::int32_t alignmentFromLegacyTag(std::uint32_t code);

} // namespace zelvane

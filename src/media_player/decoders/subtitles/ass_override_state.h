// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "media_player/decoders/subtitles/ass_override_scanner.h"
#include "media_player/decoders/subtitles/ass_style_map.h"
#include "text/attributed_string.h"

namespace zelvane {

/// Builds the attributed string of one dialogue line from the callbacks of a scan. Only codes that
/// correspond to an attribute of a run have an effect. Used by one thread.
class ASSOverrideState final : public ASSOverrideCallbacks {
  public:
    /// `baseStyle` and `styleMap` must outlive this.
    ASSOverrideState(const SubtitleTextStyle& baseStyle, const ASSStyleMap& styleMap)
        : baseStyle_(baseStyle), styleMap_(styleMap), currentStyle_(baseStyle) {}

    AttributedString takeOutput() { return std::move(output_); }

    void text(std::string_view bytes) override;
    void newLine(bool forced) override;
    void style(char tag, Switch value) override;
    void color(std::uint32_t color, int number) override;
    void alpha(std::int32_t alpha, int number) override;
    void fontName(std::string_view name) override;
    void fontSize(std::int32_t size) override;
    void alignment(std::int32_t code) override;
    void cancelOverrides(std::string_view styleName) override;

  private:
    StringAttributes& current() { return currentStyle_.textAttributes.underlyingTextAttributes; }
    const StringAttributes& base() const {
        return baseStyle_.textAttributes.underlyingTextAttributes;
    }
    bool isRestricted() const { return currentStyle_.shouldRestrictOverridesToBasicAttributes; }
    void setTrait(FontTraitMask trait, Switch value);
    void append(std::string_view text);

    AttributedString output_;
    const SubtitleTextStyle& baseStyle_;
    const ASSStyleMap& styleMap_;
    SubtitleTextStyle currentStyle_;
};

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "foundation/geometry.h"
#include "media_player/decoders/subtitles/subtitle_text_style.h"

namespace zelvane {

/// Where the text of a subtitle may lie in a view, whose top left is the origin. Lengths are in the
/// units of the view unless they say otherwise.
struct TextSubtitleSpace {
    /// Between the insets of the container, and within the box around the text. A side that is not
    /// above 0 means that the insets leave no room.
    CGRect frame;
    /// How long one unit of the text is.
    double unit = 1;
    /// How far the box reaches beyond the text on each side.
    CGSize overlayInsets;
};

/// How long one unit of the style is in a view of this height, before the factor that is for the
/// text alone.
double textSubtitleScale(const SubtitleTextStyle::ScalingInfo& scaling, double viewHeight);

TextSubtitleSpace textSubtitleSpace(const SubtitleTextStyle& style, CGSize viewSize);

/// How large the text may become, in its own units: the space, or the view where there is none.
CGSize textSubtitleLimits(const TextSubtitleSpace& space, CGSize viewSize);

/// Where text of `size`, in its own units, lies. It stands on the bottom of the space, or hangs
/// from its top. The sides are whole units of the view.
CGRect textSubtitleFrame(const TextSubtitleSpace& space, SubtitleTextStyle::Alignment alignment,
                         bool standsAtBottom, CGSize size);

/// The box behind text in `textFrame`.
CGRect textSubtitleBox(const TextSubtitleSpace& space, const CGRect& textFrame);

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "foundation/geometry.h"
#include "media_player/decoders/subtitles/subtitle_text_style.h"

namespace zelvane {

/// The space for the text of a subtitle in a view, whose top left is the origin. Lengths are in the
/// units of the view unless stated otherwise.
struct TextSubtitleSpace {
    /// The space between the insets of the container, and within the box around the text. A side of
    /// 0 or less means that the insets leave no space.
    CGRect frame;
    /// The length of one unit of the text.
    double unit = 1;
    /// The distance from the text to the box's edge on each side.
    CGSize overlayInsets;
};

/// The length of one unit of the style in a view of this height, before the factor that applies to
/// the text alone.
double textSubtitleScale(const SubtitleTextStyle::ScalingInfo& scaling, double viewHeight);

TextSubtitleSpace textSubtitleSpace(const SubtitleTextStyle& style, CGSize viewSize);

/// The largest size of the text, in its own units: that of the space, or of the view if there is no
/// space.
CGSize textSubtitleLimits(const TextSubtitleSpace& space, CGSize viewSize);

/// The frame of text of `size`, in its own units, at the bottom or at the top of the space. The
/// sides are whole units of the view.
CGRect textSubtitleFrame(const TextSubtitleSpace& space, SubtitleTextStyle::Alignment alignment,
                         bool standsAtBottom, CGSize size);

/// The box behind text in `textFrame`.
CGRect textSubtitleBox(const TextSubtitleSpace& space, const CGRect& textFrame);

} // namespace zelvane

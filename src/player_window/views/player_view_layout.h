// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "foundation/geometry.h"

namespace zelvane {

/// From the floating controls to the edges of the view and to the title bar, in points.
inline constexpr double kFloatingControlsMargin = 21;
inline constexpr double kTitleBarHeight = 40;

/// Where the controls float over a picture: centred at the bottom, between their least and greatest
/// width. All in points of the view with y downward.
CGRect floatingControlsRect(const CGSize& view);

/// The smallest view that holds the floating controls and the title bar, with some of the picture
/// between them.
CGSize fittingVideoPlayerSize();

/// The size of the content of an audio window, which is fixed.
CGSize audioPlayerSize();

/// The largest rectangle of the shape of `shape` in the middle of `view`; all of the view where the
/// shape is empty.
CGRect largestRectOfShape(const CGSize& shape, const CGSize& view);

/// What covers the picture while the controls are visible.
struct ControlsOverPicture {
    CGRect titleBar;
    CGRect panel;
};

/// How far the bottom subtitles move up, so that they are above the visible panel. `text` is what
/// they cover. Zero where nothing of them is under the panel; never so far that they leave
/// `picture` at its top.
double subtitlesLift(const CGRect& text, const CGRect& panel, const CGRect& picture);

/// How far the top subtitles move down, so that they are below the visible title bar; never so far
/// that they leave `picture` at its bottom.
double subtitlesDrop(const CGRect& text, const CGRect& titleBar, const CGRect& picture);

/// The parts of the indicator that the picture is in another place, in points with y downward.
struct ExternalPlaybackIndicatorLayout {
    CGRect image;
    CGRect title;
    std::optional<CGRect> subtitle = std::nullopt;
};

/// One column in the middle of `view`. A text is not wider than the view.
ExternalPlaybackIndicatorLayout
layOutExternalPlaybackIndicator(const CGSize& view, const CGSize& image, const CGSize& title,
                                const std::optional<CGSize>& subtitle);

} // namespace zelvane

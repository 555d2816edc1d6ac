// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

class SubtitleView;

/// Draws what a SubtitlesView has on display. Main queue.
class SubtitlesSurface {
  public:
    virtual ~SubtitlesSurface() = default;
    /// A view was put on display, in front of the others. It has no size yet.
    virtual void didAddSubtitleView(SubtitleView& view) = 0;
    /// A view is removed from display, and destroyed after this call.
    virtual void willRemoveSubtitleView(const SubtitleView& view) = 0;
    /// The size of the video picture has changed.
    virtual void videoDimensionsDidChange() = 0;
};

} // namespace zelvane

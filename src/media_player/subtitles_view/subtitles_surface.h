// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

class SubtitleView;

/// Draws what a SubtitlesView has on display. Main queue.
class SubtitlesSurface {
  public:
    virtual ~SubtitlesSurface() = default;
    /// A view is on display from now on, in front of the others. It has no size yet.
    virtual void didAddSubtitleView(SubtitleView& view) = 0;
    /// A view is on display no longer, and goes after this call.
    virtual void willRemoveSubtitleView(const SubtitleView& view) = 0;
    /// The picture under the subtitles has another size.
    virtual void videoDimensionsDidChange() = 0;
};

} // namespace zelvane

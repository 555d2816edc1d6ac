// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>

#include "media_player/decoders/subtitles/subtitle_text_style.h"

namespace zelvane {

/// Combines the styles of a file with the user's settings. Any thread.
class SubtitleTextStyling {
  public:
    virtual ~SubtitleTextStyling() = default;

    /// The user's caption appearance as a style.
    virtual SubtitleTextStyle userSpecifiedStyle() const = 0;
    /// The style to use instead of the one that a file asks for.
    virtual SubtitleTextStyle effectiveStyle(const SubtitleTextStyle& style) const = 0;
    /// Calls `observer` when derived styles must be derived again, on any thread and before text is
    /// shown again, for as long as the returned object exists. A call that is running on another
    /// thread on destruction may still finish.
    virtual std::shared_ptr<void> addDecoderObserver(std::function<void()> observer) = 0;
};

/// The process's styling.
std::shared_ptr<SubtitleTextStyling> sharedSubtitleTextStyling();

} // namespace zelvane

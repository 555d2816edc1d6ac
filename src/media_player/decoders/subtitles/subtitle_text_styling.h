// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>

#include "media_player/decoders/subtitles/subtitle_text_style.h"

namespace zelvane {

/// Where the styles of a file meet the person's wishes. Any thread.
class SubtitleTextStyling {
  public:
    virtual ~SubtitleTextStyling() = default;

    /// The person's caption appearance as a style.
    virtual SubtitleTextStyle userSpecifiedStyle() const = 0;
    /// The style to use in the place of one that a file asks for.
    virtual SubtitleTextStyle effectiveStyle(const SubtitleTextStyle& style) const = 0;
    /// Calls `observer` when styles that were derived have to be made anew, on any thread and
    /// before anyone shows text again, for as long as the returned object lives. What is running
    /// on another thread when it goes may still finish.
    virtual std::shared_ptr<void> addDecoderObserver(std::function<void()> observer) = 0;
};

/// The process's styling.
std::shared_ptr<SubtitleTextStyling> sharedSubtitleTextStyling();

} // namespace zelvane

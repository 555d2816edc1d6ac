// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core_media/ffmpeg.h"
#include "foundation/cm_time.h"

namespace zelvane {

/// A part of a medium, which lasts until the next one begins.
struct MediaChapter {
    /// Since the start of the media.
    CMTime start;
    /// UTF-8; empty without one.
    std::string title;
    friend bool operator==(const MediaChapter&, const MediaChapter&) = default;
};

/// By their starts, no two of which are equal.
using MediaChapters = std::vector<MediaChapter>;

/// The chapters of a container that begin within the media. `startTime` is that of the media. Used
/// by the queue that owns the context.
MediaChapters chaptersOf(const AVFormatContext& context, const CMTime& startTime,
                         const CMTime& duration);

/// The index of the chapter that is played at `time`; none before the first one.
std::optional<std::size_t> chapterAt(const MediaChapters& chapters, const CMTime& time);

/// The index of the chapter that begins next; none in the last one.
std::optional<std::size_t> chapterAfter(const MediaChapters& chapters, const CMTime& time);

/// The index of the chapter to go back to: the one that is played, or in its first three seconds
/// the one before. None before the first one.
std::optional<std::size_t> chapterBefore(const MediaChapters& chapters, const CMTime& time);

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/media_chapter.h"

#include <algorithm>
#include <span>

#include "core_media/ffmpeg_time.h"
#include "foundation/text.h"

namespace zelvane {
namespace {

/// Each is an item of a menu: more come from damaged files only.
constexpr std::size_t kMostChapters = 1000;
constexpr CMTime kTimeToGoBack(3, 1);

std::string titleOf(const AVChapter& chapter) {
    const auto* entry = av_dict_get(chapter.metadata, "title", nullptr, 0);
    return entry == nullptr ? std::string() : repairedUTF8(entry->value);
}

} // namespace

MediaChapters chaptersOf(const AVFormatContext& context, const CMTime& startTime,
                         const CMTime& duration) {
    MediaChapters chapters;
    for (const AVChapter* chapter : std::span(context.chapters, context.nb_chapters)) {
        const auto time = timeFromStamp(chapter->start, chapter->time_base);
        if (!time || *time - startTime >= duration || chapters.size() == kMostChapters) {
            continue;
        }
        chapters.push_back({std::max(*time - startTime, kCMTimeZero), titleOf(*chapter)});
    }
    std::ranges::stable_sort(chapters, std::less(), &MediaChapter::start);
    // clang 14 cannot compile std::ranges::unique() of libstdc++.
    const auto haveSameStart = [](const MediaChapter& a, const MediaChapter& b) {
        return a.start == b.start;
    };
    chapters.erase(std::unique(chapters.begin(), chapters.end(), haveSameStart), chapters.end());
    return chapters;
}

std::optional<std::size_t> chapterAt(const MediaChapters& chapters, const CMTime& time) {
    const auto next = std::ranges::upper_bound(chapters, time, std::less(), &MediaChapter::start);
    return next == chapters.begin()
               ? std::nullopt
               : std::optional(static_cast<std::size_t>(next - chapters.begin() - 1));
}

std::optional<std::size_t> chapterAfter(const MediaChapters& chapters, const CMTime& time) {
    const auto present = chapterAt(chapters, time);
    const std::size_t next = present ? *present + 1 : 0;
    return next < chapters.size() ? std::optional(next) : std::nullopt;
}

std::optional<std::size_t> chapterBefore(const MediaChapters& chapters, const CMTime& time) {
    const auto present = chapterAt(chapters, time);
    if (!present || *present == 0) {
        return present;
    }
    return time - chapters[*present].start < kTimeToGoBack ? *present - 1 : *present;
}

} // namespace zelvane

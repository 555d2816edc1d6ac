// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include "tests/media_player/media_source/media_source_support.h"

namespace zelvane {
namespace {

using Index = std::optional<std::size_t>;
using testing::ElementsAre;

MediaChapter at(double seconds, const char* title) {
    return {CMTime::fromSeconds(seconds, 1000), title};
}

TEST(MediaChapter, containersGiveTheirChaptersFromTheStartOfTheMedia) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    const auto chapters = [&](const char* name) {
        return test::openSource(media / "metadata" / name)->chapters();
    };
    // The sound begins 23 ms before the picture.
    EXPECT_THAT(chapters("androidx_sample_with_chapters.mkv"),
                ElementsAre(at(0.023, "Chapter 1"), at(2.023, "Chapter 2")));
    EXPECT_THAT(chapters("androidx_sample_with_nero_chapters_only.mp4"),
                ElementsAre(at(0, "Chapter 1"), at(0.201, "Chapter 2"), at(0.8, "Chapter 3")));
    EXPECT_EQ(chapters("lofty_toc_many_children.mp3").size(), 129U);
}

TEST(MediaChapter, chaptersAreSortedAndWithinTheMedia) {
    std::string metadata = ";FFMETADATA1\n";
    for (const auto& [start, title] : {std::pair("1500", "late"), std::pair("500", "early"),
                                       std::pair("500", "again"), std::pair("9000", "outside")}) {
        metadata += std::string("[CHAPTER]\nTIMEBASE=1/1000\nSTART=") + start + "\nEND=" + start +
                    "\ntitle=" + title + "\n";
    }
    const auto clip =
        test::madeClip("chapters.nut", test::lavfi("sine=d=2") + "-f ffmetadata -i '" +
                                           test::madeText("chapters.txt", metadata).string() +
                                           "' -map 0 -map_chapters 1");
    EXPECT_THAT(test::openSource(clip)->chapters(), ElementsAre(at(0.5, "early"), at(1.5, "late")));
}

TEST(MediaChapter, theNextAndThePreviousChapterAreFound) {
    const MediaChapters chapters{at(1, ""), at(10, ""), at(20, "")};
    struct Case {
        double seconds;
        Index present;
        Index next;
        Index previous;
    };
    for (const Case& each : {
             Case{0.5, std::nullopt, 0, std::nullopt},
             Case{1, 0, 1, 0},
             Case{9.9, 0, 1, 0},
             Case{12.9, 1, 2, 0},
             Case{13, 1, 2, 1},
             Case{25, 2, std::nullopt, 2},
         }) {
        SCOPED_TRACE(each.seconds);
        const auto time = CMTime::fromSeconds(each.seconds, 1000);
        EXPECT_EQ(chapterAt(chapters, time), each.present);
        EXPECT_EQ(chapterAfter(chapters, time), each.next);
        EXPECT_EQ(chapterBefore(chapters, time), each.previous);
    }
}

} // namespace
} // namespace zelvane

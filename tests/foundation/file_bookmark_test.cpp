// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/file_bookmark.h"

#include <fstream>

#include <gtest/gtest.h>

#include "tests/support/clips.h"

namespace zelvane {
namespace {

namespace fs = std::filesystem;

TEST(FileBookmark, findsAFileWhereverItMayBe) {
    const struct {
        const char* name;
        /// What happens to "old/film" before it is looked for, with "other" as the other folder.
        void (*change)(const fs::path& folder);
        const char* found;
    } cases[] = {
        {"unchanged", [](const fs::path&) {}, "old/film"},
        {"renamed", [](const fs::path& in) { fs::rename(in / "old/film", in / "old/x y%"); },
         "old/x y%"},
        {"moved with its folder gone",
         [](const fs::path& in) {
             fs::rename(in / "old/film", in / "other/film");
             fs::remove_all(in / "old");
         },
         "other/film"},
        {"moved elsewhere", [](const fs::path& in) { fs::rename(in / "old/film", in / "film"); },
         "old/film"},
        {"replaced",
         [](const fs::path& in) {
             fs::rename(in / "old/film", in / "other/film");
             std::ofstream(in / "old/film") << "new";
         },
         "old/film"},
    };
    for (const auto& given : cases) {
        const test::TemporaryFolder folder;
        fs::create_directories(folder.path() / "old");
        fs::create_directories(folder.path() / "other");
        std::ofstream(folder.path() / "old/neighbour") << "another file";
        std::ofstream(folder.path() / "old/film") << "film";
        StateCoder coder;
        FileBookmark::of(URL::fromPath(folder.path() / "old/film")).encode(coder);
        given.change(folder.path());
        const auto bookmark = FileBookmark::decode(StateCoder::fromData(coder.data()).state);
        ASSERT_TRUE(bookmark);
        EXPECT_EQ(bookmark->resolve(folder.path() / "other"),
                  URL::fromPath(folder.path() / given.found))
            << given.name;
    }
}

TEST(FileBookmark, ofAMissingFileIsItsURL) {
    const auto url = URL::fromPath("/nowhere/at all.mkv");
    StateCoder coder;
    FileBookmark::of(url).encode(coder);
    EXPECT_EQ(coder.data(), R"({"url":"file:///nowhere/at%20all.mkv"})");
    EXPECT_EQ(FileBookmark::decode(coder)->resolve(), url);
}

TEST(FileBookmark, needsThePathOfAFile) {
    for (const char* url : {"", "film.mkv", "http://host/film", "file:film.mkv", "file://"}) {
        StateCoder coder;
        coder.encodeString("url", url);
        EXPECT_FALSE(FileBookmark::decode(coder)) << url;
    }
}

} // namespace
} // namespace zelvane

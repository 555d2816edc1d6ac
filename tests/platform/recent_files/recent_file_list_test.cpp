// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/recent_files/recent_file_list.h"

#include <fstream>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "tests/support/clips.h"
#include "tests/support/log_capture.h"

namespace zelvane {
namespace {

class RecentFileListTest : public testing::Test {
  protected:
    /// A file that exists.
    URL made(const std::string& name) const {
        std::ofstream(folder_.path() / name) << "film";
        return URL::fromPath(folder_.path() / name);
    }
    RecentFileList listOf(const std::string& program) const {
        return {path_, program, program + " %u"};
    }
    static void add(const RecentFileList& list, const URL& url) { list.add(url, "video/mp4"); }
    /// The last components of at most 100 files.
    static std::vector<std::string> namesOf(const RecentFileList& list) {
        std::vector<std::string> names;
        for (const URL& url : list.files(100)) {
            names.push_back(url.lastPathComponent());
        }
        return names;
    }

    const test::TemporaryFolder folder_;
    const std::filesystem::path path_ = folder_.path() / "new/recently-used.xbel";
    const RecentFileList list_ = listOf("player");
};

TEST_F(RecentFileListTest, hasTheLatestFirstAndOnlyThoseThatExist) {
    using testing::ElementsAre;
    EXPECT_THAT(namesOf(list_), ElementsAre());
    for (const char* name : {"a b&ä.mkv", "b.mkv", "c.mkv", "b.mkv"}) {
        add(list_, made(name));
    }
    EXPECT_THAT(namesOf(list_), ElementsAre("b.mkv", "c.mkv", "a b&ä.mkv"));
    EXPECT_EQ(list_.files(1).size(), 1U);
    std::filesystem::remove(folder_.path() / "c.mkv");
    EXPECT_THAT(namesOf(list_), ElementsAre("b.mkv", "a b&ä.mkv"));
    list_.remove(made("b.mkv"));
    EXPECT_THAT(namesOf(list_), ElementsAre("a b&ä.mkv"));
    using std::filesystem::perms;
    EXPECT_EQ(std::filesystem::status(path_).permissions(), perms::owner_read | perms::owner_write);
}

TEST_F(RecentFileListTest, clearsNothingOfOtherPrograms) {
    const RecentFileList other = listOf("editor");
    add(list_, made("mine.mkv"));
    add(list_, made("both.mkv"));
    add(other, made("both.mkv"));
    add(other, made("other.mkv"));
    list_.clear();
    EXPECT_THAT(namesOf(list_), testing::ElementsAre());
    EXPECT_THAT(namesOf(other), testing::ElementsAre("other.mkv", "both.mkv"));
    EXPECT_THAT(test::bytesOf(path_), testing::Not(testing::HasSubstr("mine.mkv")));
}

TEST_F(RecentFileListTest, forgetsTheOldestAboveItsCapacity) {
    add(listOf("editor"), made("other.mkv"));
    for (std::size_t i = 0; i < RecentFileList::kCapacity + 2; ++i) {
        add(list_, made(fmt::format("{}.mkv", i)));
    }
    const auto names = namesOf(list_);
    EXPECT_EQ(names.size(), RecentFileList::kCapacity);
    EXPECT_EQ(names.back(), "2.mkv");
    EXPECT_EQ(namesOf(listOf("editor")).size(), 1U);
}

TEST_F(RecentFileListTest, neverReplacesAListThatItCannotRead) {
    const test::LogCapture log;
    std::filesystem::create_directories(path_.parent_path());
    const std::string huge(17U << 20U, ' ');
    for (const std::string& content : {std::string("<xbel"), std::string("\x00\xff", 2), huge}) {
        std::ofstream(path_) << content;
        add(list_, made("a.mkv"));
        list_.clear();
        EXPECT_THAT(namesOf(list_), testing::ElementsAre());
        EXPECT_TRUE(test::bytesOf(path_) == content);
    }
    std::filesystem::remove(path_);
    std::filesystem::create_directory(path_);
    add(list_, made("a.mkv"));
    EXPECT_TRUE(std::filesystem::is_directory(path_));
}

} // namespace
} // namespace zelvane

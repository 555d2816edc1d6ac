// SPDX-License-Identifier: GPL-3.0-or-later
#include <fstream>
#include <set>

#include <QElapsedTimer>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "application/session_store.h"
#include "tests/player_window/window_test_support.h"
#include "tests/support/clips.h"

namespace zelvane {
namespace {

StateCoder windowNamed(const std::string& name) {
    StateCoder state;
    state.encodeString("name", name);
    return state;
}

/// "whole a b"
std::string textOf(const StoredSession& session) {
    const char* conditions[] = {"whole", "damaged", "newer"};
    std::string text = conditions[static_cast<int>(session.condition)];
    for (const auto& window : session.windows) {
        text += " " + window.decodeString("name").value_or("?");
    }
    return text;
}

TEST(SessionState, hasItsWindowsInTheOrderOfTheirLastUse) {
    SessionState state;
    const auto stored = [&] { return textOf(StoredSession::fromData(state.data())); };
    EXPECT_EQ(stored(), "whole");
    state.set(1, windowNamed("a"));
    state.set(2, std::nullopt);
    state.set(3, windowNamed("c"));
    EXPECT_EQ(stored(), "whole a c");
    state.set(2, windowNamed("b"));
    EXPECT_EQ(stored(), "whole a b c");
    state.moveToFront(1);
    state.moveToFront(9);
    EXPECT_EQ(stored(), "whole b c a");
    state.remove(3);
    state.set(2, windowNamed("B"));
    EXPECT_EQ(stored(), "whole B a");
}

TEST(StoredSession, readsWhatCanBeRead) {
    const auto with = [](const std::string& version, const std::string& windows) {
        return fmt::format(R"({{"zelvane.Session.version":{},"zelvane.Session.windows":[{}]}})",
                           version, windows);
    };
    const std::pair<std::string, std::string> cases[] = {
        {with("1", R"({"name":"a"},{"name":"b"})"), "whole a b"},
        {with("1", R"({"name":"a"},{"name":"b")"), "damaged a"},
        {with("1", R"({"name":"a"},{"name":"b"})").substr(0, 72), "damaged a"},
        {with("2", R"({"name":"a"})"), "newer"},
        {R"({"zelvane.Session.version":3,"zelvane.Session.win)", "newer"},
        {with("0", R"({"name":"a"})"), "damaged a"},
        {with("\"1\"", ""), "damaged"},
        {R"({"windows":[{"name":"a"}]})", "damaged"},
        {"", "damaged"},
        {"<html>", "damaged"},
    };
    for (const auto& [data, expected] : cases) {
        EXPECT_EQ(textOf(StoredSession::fromData(data)), expected) << data;
    }
    std::string many = "{}";
    for (int i = 0; i < 200; ++i) {
        many += ",{}";
    }
    const auto session = StoredSession::fromData(with("1", many));
    EXPECT_EQ(session.windows.size(), 200U);
    EXPECT_EQ(session.condition, StoredSession::Condition::damaged) << "one is lost";
}

class SessionStoreTest : public testing::Test {
  protected:
    std::string stored() const { return textOf(StoredSession::fromData(test::bytesOf(path_))); }
    /// A write replaces the file.
    std::uint64_t inode() const {
        struct stat status {};
        return stat(path_.c_str(), &status) == 0 ? status.st_ino : 0;
    }
    std::unique_ptr<SessionStore> makeStore() const {
        return std::make_unique<SessionStore>(QString::fromStdString(path_));
    }
    static void keep(SessionStore& store, const std::string& name) {
        store.add(1, [&] { return windowNamed(name); });
        store.invalidate(1);
        store.finish();
    }
    const test::TemporaryFolder folder_;
    const std::string path_ = (folder_.path() / "new/session.json").string();
};

TEST_F(SessionStoreTest, keepsWindowsForTheNextRun) {
    auto store = makeStore();
    EXPECT_TRUE(store->storedWindows().empty());
    store->add(1, [] { return windowNamed("a"); });
    store->add(2, [] { return std::nullopt; });
    store->add(3, [] { return windowNamed("c"); });
    for (const int window : {1, 2, 3}) {
        store->invalidate(window);
    }
    EXPECT_TRUE(test::runUntil([&] { return stored() == "whole a c"; }));
    store->moveToFront(1);
    EXPECT_TRUE(test::runUntil([&] { return stored() == "whole c a"; }));
    store->remove(3);
    store->finish();
    EXPECT_EQ(stored(), "whole a");
    store->remove(1);
    store = nullptr;
    EXPECT_EQ(stored(), "whole a") << "a window that closes with the program stays";
    EXPECT_EQ(makeStore()->storedWindows().size(), 1U);
}

TEST_F(SessionStoreTest, writesAtMostOnceASecondAndOnlyWhatChanged) {
    const auto store = makeStore();
    int count = 0;
    store->add(1, [&] { return windowNamed(std::to_string(count)); });
    std::set<std::string> seen;
    QElapsedTimer timer;
    timer.start();
    test::runUntil([&] {
        ++count;
        store->invalidate(1);
        seen.insert(test::bytesOf(path_));
        return timer.elapsed() > 2200;
    });
    const auto seconds = static_cast<std::size_t>(timer.elapsed() / 1000);
    seen.erase("");
    EXPECT_GE(seen.size(), 2U);
    EXPECT_LE(seen.size(), seconds + 1);
    store->invalidate(1);
    ASSERT_TRUE(test::runUntil([&] { return stored() == fmt::format("whole {}", count); }));
    const auto written = inode();
    store->invalidate(1);
    store->finish();
    EXPECT_EQ(inode(), written) << "nothing had changed";
}

TEST_F(SessionStoreTest, replacesNoFileThatItCannotRead) {
    const std::string damaged = R"({"zelvane.Session.version":1,"zelvane.Session.windows":[)"
                                R"({"name":"a"},{"na)";
    const std::string newer = R"({"zelvane.Session.version":2,"zelvane.Session.windows":[{}]})";
    std::filesystem::create_directories(std::filesystem::path(path_).parent_path());
    for (const auto& [data, windowCount, kept] :
         {std::tuple{damaged, 1U, path_ + ".bad"}, std::tuple{newer, 0U, path_}}) {
        std::ofstream(path_) << data;
        const auto store = makeStore();
        EXPECT_EQ(store->storedWindows().size(), windowCount);
        keep(*store, "b");
        EXPECT_EQ(test::bytesOf(kept), data);
        EXPECT_EQ(stored(), kept == path_ ? "newer" : "whole b");
    }
}

TEST_F(SessionStoreTest, ofASecondProcessNeitherReadsNorWrites) {
    keep(*makeStore(), "a");
    auto first = makeStore();
    // The lock belongs to an open file, so a second store meets it as a second process does.
    const auto second = makeStore();
    EXPECT_TRUE(second->storedWindows().empty());
    keep(*second, "b");
    EXPECT_EQ(stored(), "whole a");
    first = nullptr;
    EXPECT_EQ(makeStore()->storedWindows().size(), 1U);
}

} // namespace
} // namespace zelvane

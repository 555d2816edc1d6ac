// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/file_resource_identifier.h"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "foundation/error.h"
#include "tests/support/clips.h"

namespace zelvane {
namespace {

auto identifierOf(const std::filesystem::path& path) {
    return FileResourceIdentifier::of(URL::fromPath(path));
}

TEST(FileResourceIdentifier, isTheSameForEveryName) {
    const test::TemporaryFolder folder;
    const auto path = folder.path() / "a.srt";
    std::ofstream(path) << "text";
    std::filesystem::create_hard_link(path, folder.path() / "b.srt");
    std::filesystem::create_symlink(path, folder.path() / "c.srt");
    std::filesystem::copy_file(path, folder.path() / "d.srt");
    EXPECT_EQ(identifierOf(path), identifierOf(folder.path() / "b.srt"));
    EXPECT_EQ(identifierOf(path), identifierOf(folder.path() / "c.srt"));
    EXPECT_EQ(identifierOf(path), identifierOf(folder.path() / "." / "a.srt"));
    EXPECT_NE(identifierOf(path), identifierOf(folder.path() / "d.srt"));
}

TEST(FileResourceIdentifier, differsFromThatOfADeletedFile) {
    const test::TemporaryFolder folder;
    const auto path = folder.path() / "a.srt";
    std::ofstream(path) << "text";
    const auto deleted = identifierOf(path);
    std::filesystem::remove(path);
    std::ofstream(path) << "text";
    EXPECT_NE(identifierOf(path), deleted);
}

TEST(FileResourceIdentifier, isNoneForOtherURLs) {
    EXPECT_EQ(FileResourceIdentifier::of(URL::parse("http://host/a.srt")), std::nullopt);
    EXPECT_THROW(identifierOf("/no/such/file"), SystemError);
}

} // namespace
} // namespace zelvane

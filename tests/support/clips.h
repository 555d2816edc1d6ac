// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace zelvane::test {

/// The folder of real media that lies beside the project, or that ZELVANE_SHARED_MEDIA names; none
/// where there is no such folder.
std::optional<std::filesystem::path> sharedMediaFolder();

/// A clip that ffmpeg makes once per build folder: `ffmpeg <arguments> <name>`. Safe to ask for
/// from several test programs at once. Throws with ffmpeg's own words when it cannot be made.
std::filesystem::path madeClip(const std::string& name, const std::vector<std::string>& arguments);
/// The same, of arguments that hold no blanks and stand in one line.
std::filesystem::path madeClip(const std::string& name, const std::string& arguments);

/// A folder that is removed, with what is in it, when this goes.
class TemporaryFolder {
  public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};

} // namespace zelvane::test

/// Skips the test, visibly in the summary, where the shared media are not there.
#define ZELVANE_NEEDS_SHARED_MEDIA(folder)                                                         \
    const auto folder##Found = zelvane::test::sharedMediaFolder();                                 \
    if (!folder##Found) {                                                                          \
        GTEST_SKIP() << "SKIPPED: the shared media folder is not here";                            \
    }                                                                                              \
    const std::filesystem::path& folder = *folder##Found // NOLINT(bugprone-macro-parentheses)

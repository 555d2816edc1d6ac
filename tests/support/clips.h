// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace zelvane::test {

/// The folder of real media: ../shared/media relative to the project, or the one that the
/// environment variable ZELVANE_SHARED_MEDIA names; none if it does not exist.
std::optional<std::filesystem::path> sharedMediaFolder();

/// A clip that ffmpeg makes once per build folder: `ffmpeg <arguments> <name>`. Several test
/// programs may ask for the same clip at once. Throws with ffmpeg's error text when it cannot be
/// made. `arguments` is one line; blanks separate words except inside "..." or '...':
///     madeClip("film.mkv", lavfi("testsrc2=s=64x48:d=2") + lavfi("sine=d=2") +
///                              inputFile(side) + "-map 0 -map 1 -metadata 'title=A film'")
std::filesystem::path madeClip(const std::string& name, const std::string& arguments);
/// The same with the words already separated.
std::filesystem::path madeClip(const std::string& name, const std::vector<std::string>& arguments);

/// A text file in the folder of the clips. Equal texts have the same path in each run, so a clip
/// made from the file is made once.
std::filesystem::path madeText(const std::string& name, const std::string& text);

/// An input that ffmpeg generates, as part of the arguments of `madeClip`.
std::string lavfi(const std::string& graph);
/// An input that is a file, as part of the arguments of `madeClip`.
std::string inputFile(const std::filesystem::path& path);

/// The whole content of a file; empty when it cannot be read.
std::string bytesOf(const std::filesystem::path& path);

/// A new folder, removed with its content on destruction.
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

/// Skips the test, visibly in the summary, when the shared media folder is missing.
#define ZELVANE_NEEDS_SHARED_MEDIA(folder)                                                         \
    const auto folder##Found = zelvane::test::sharedMediaFolder();                                 \
    if (!folder##Found) {                                                                          \
        GTEST_SKIP() << "SKIPPED: the shared media folder is missing";                             \
    }                                                                                              \
    const std::filesystem::path& folder = *folder##Found // NOLINT(bugprone-macro-parentheses)

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "foundation/url.h"

namespace zelvane {

/// The files that this program has opened, in the list that the programs of the desktop share:
/// recently-used.xbel, whose format is XBEL with the bookmark metadata of freedesktop.org. Each
/// call reads and replaces the file. It never replaces a file that it cannot read. It logs
/// failures. One thread at a time.
class RecentFileList {
  public:
    /// More are removed, the oldest first.
    static constexpr std::size_t kCapacity = 50;

    /// `path` is that of the list. The other strings are what other programs show and run.
    RecentFileList(std::filesystem::path path, std::string programName, std::string command);

    /// The program's files that exist, the latest first, at most `count`. Looks for each of them,
    /// which may take long on a network.
    std::vector<URL> files(std::size_t count) const;
    /// Adds the file, or makes it the latest.
    void add(const URL& url, const std::string& mimeType) const;
    void remove(const URL& url) const;
    /// Removes all files of this program. Those that others have opened too remain theirs.
    void clear() const;

  private:
    class Bookmarks;

    const std::filesystem::path path_;
    const std::string programName_;
    const std::string command_;
};

} // namespace zelvane

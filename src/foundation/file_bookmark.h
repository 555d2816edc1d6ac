// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <utility>

#include "foundation/state_coder.h"
#include "foundation/url.h"

namespace zelvane {

/// Finds a file again in a later run, also after it was renamed. A value.
class FileBookmark {
  public:
    /// Reads the file system. A file that is not there is found by its URL alone.
    static FileBookmark of(const URL& url);

    const URL& url() const { return url_; }

    void encode(StateCoder& coder) const;
    /// None without the URL of a file.
    static std::optional<FileBookmark> decode(const StateCoder& coder);

    /// Where the file is now. When its path has gone, this looks for the same file in its folder
    /// and then in `otherFolder`; if it is in neither, the result is the old URL. Reads the file
    /// system, which may take long on a network.
    URL resolve(const std::filesystem::path& otherFolder = {}) const;

  private:
    struct Identity {
        std::int64_t device = 0;
        std::int64_t inode = 0;
        /// Nanoseconds; 0 where the file system does not keep it. A new file often gets the inode
        /// of a deleted one.
        std::int64_t birth = 0;
        friend bool operator==(const Identity&, const Identity&) = default;
    };
    FileBookmark(URL url, std::optional<Identity> identity)
        : url_(std::move(url)), identity_(identity) {}
    static std::optional<Identity> identityOf(const std::filesystem::path& path);
    std::optional<URL> findIn(const std::filesystem::path& folder) const;

    URL url_;
    std::optional<Identity> identity_;
};

} // namespace zelvane

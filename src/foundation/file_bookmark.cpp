// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/file_bookmark.h"

#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace zelvane {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kURLKey = "url";
constexpr std::string_view kBookmarkKey = "urlBookmarkData";
constexpr std::string_view kDeviceKey = "device";
constexpr std::string_view kInodeKey = "inode";
constexpr std::string_view kBirthKey = "birth";

/// A folder with more files is not searched to its end.
constexpr int kMaximumFolderSize = 20'000;

} // namespace

std::optional<FileBookmark::Identity> FileBookmark::identityOf(const fs::path& path) {
    constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
    struct statx found {};
    if (statx(AT_FDCWD, path.c_str(), 0, STATX_INO | STATX_BTIME, &found) != 0) {
        return std::nullopt;
    }
    const bool hasBirth = (found.stx_mask & STATX_BTIME) != 0;
    const std::int64_t birth =
        found.stx_btime.tv_sec * kNanosecondsPerSecond + found.stx_btime.tv_nsec;
    return Identity{static_cast<std::int64_t>(makedev(found.stx_dev_major, found.stx_dev_minor)),
                    static_cast<std::int64_t>(found.stx_ino), hasBirth ? birth : 0};
}

FileBookmark FileBookmark::of(const URL& url) {
    return {url, url.isFileURL() ? identityOf(url.path()) : std::nullopt};
}

void FileBookmark::encode(StateCoder& coder) const {
    coder.encodeString(kURLKey, url_.absoluteString());
    if (identity_) {
        StateCoder bookmark;
        bookmark.encodeInteger(kDeviceKey, identity_->device);
        bookmark.encodeInteger(kInodeKey, identity_->inode);
        bookmark.encodeInteger(kBirthKey, identity_->birth);
        coder.encodeState(kBookmarkKey, bookmark);
    }
}

std::optional<FileBookmark> FileBookmark::decode(const StateCoder& coder) {
    const auto url = URL::parse(coder.decodeString(kURLKey).value_or(""));
    if (!url.isFileURL() || url.path().substr(0, 1) != "/") {
        return std::nullopt;
    }
    const auto bookmark = coder.decodeState(kBookmarkKey).value_or(StateCoder());
    const auto device = bookmark.decodeInteger(kDeviceKey);
    const auto inode = bookmark.decodeInteger(kInodeKey);
    if (!device || !inode) {
        return FileBookmark(url, std::nullopt);
    }
    return FileBookmark(url,
                        Identity{*device, *inode, bookmark.decodeInteger(kBirthKey).value_or(0)});
}

URL FileBookmark::resolve(const fs::path& otherFolder) const {
    const fs::path path(url_.path());
    std::error_code error;
    if (!identity_ || fs::exists(path, error)) {
        return url_;
    }
    const auto beside = findIn(path.parent_path());
    return beside ? *beside : findIn(otherFolder).value_or(url_);
}

std::optional<URL> FileBookmark::findIn(const fs::path& folder) const {
    std::error_code error;
    int count = 0;
    for (fs::directory_iterator entry(folder, error), end;
         !error && entry != end && count < kMaximumFolderSize; entry.increment(error), ++count) {
        if (identityOf(entry->path()) == identity_) {
            return URL::fromPath(entry->path());
        }
    }
    return std::nullopt;
}

} // namespace zelvane

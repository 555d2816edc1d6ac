// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/recent_files/recent_file_list.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

#include <glib.h>

#include "foundation/log.h"
#include "foundation/release.h"

namespace zelvane {
namespace {

/// The list is read as a whole. Desktops keep theirs far below this.
constexpr std::uintmax_t kLargestList = 16U << 20U;
/// The directory can be a new one of the user's.
constexpr int kPrivateFolder = 0700;

/// An error of GLib, which is logged when there is one.
class BookmarkError {
  public:
    BookmarkError() = default;
    ~BookmarkError() { g_clear_error(&error_); }
    BookmarkError(const BookmarkError&) = delete;
    BookmarkError& operator=(const BookmarkError&) = delete;

    GError** address() { return &error_; }
    bool isMissingFile() const {
        return g_error_matches(error_, G_FILE_ERROR, G_FILE_ERROR_NOENT) != FALSE;
    }
    void log(const char* action) const {
        logMessage("Failed to {} the list of recent files: {}.", action,
                   error_ == nullptr ? "unknown error" : error_->message);
    }

  private:
    GError* error_ = nullptr;
};

struct DatedFile {
    std::string uri;
    /// Microseconds of Unix time.
    gint64 opened = 0;
};

} // namespace

/// The content of the list.
class RecentFileList::Bookmarks {
  public:
    explicit Bookmarks(const RecentFileList& list) : list_(list) {}

    /// A missing list is an empty one. False if the list must stay as it is.
    bool load() {
        std::error_code failure;
        if (std::filesystem::file_size(list_.path_, failure) > kLargestList && !failure) {
            logMessage("The list of recent files is too large.");
            return false;
        }
        BookmarkError error;
        if (g_bookmark_file_load_from_file(file_.get(), list_.path_.c_str(), error.address()) ||
            error.isMissingFile()) {
            return true;
        }
        error.log("read");
        return false;
    }

    void save() {
        g_mkdir_with_parents(list_.path_.parent_path().c_str(), kPrivateFolder);
        BookmarkError error;
        if (!g_bookmark_file_to_file(file_.get(), list_.path_.c_str(), error.address())) {
            error.log("write");
        }
        // What a user opens is private, as other programs of the desktop keep it.
        using std::filesystem::perms;
        std::error_code failure;
        std::filesystem::permissions(list_.path_, perms::owner_read | perms::owner_write, failure);
    }

    /// Those of this program, the latest first.
    std::vector<DatedFile> files() {
        std::vector<DatedFile> files;
        const std::unique_ptr<gchar*, Release<g_strfreev>> uris(
            g_bookmark_file_get_uris(file_.get(), nullptr));
        for (gchar** uri = uris.get(); uri != nullptr && *uri != nullptr; ++uri) {
            GDateTime* opened = nullptr;
            if (g_bookmark_file_get_application_info(file_.get(), *uri, name(), nullptr, nullptr,
                                                     &opened, nullptr)) {
                constexpr gint64 kMicroseconds = 1'000'000;
                files.push_back({*uri, g_date_time_to_unix(opened) * kMicroseconds +
                                           g_date_time_get_microsecond(opened)});
            }
        }
        std::ranges::stable_sort(files, std::ranges::greater(), &DatedFile::opened);
        return files;
    }

    void add(const URL& url, const std::string& mimeType) {
        const char* uri = url.absoluteString().c_str();
        g_bookmark_file_set_mime_type(file_.get(), uri, mimeType.c_str());
        g_bookmark_file_add_application(file_.get(), uri, name(), list_.command_.c_str());
    }

    void remove(const std::string& uri) {
        if (!g_bookmark_file_remove_application(file_.get(), uri.c_str(), name(), nullptr)) {
            return;
        }
        gsize count = 0;
        const std::unique_ptr<gchar*, Release<g_strfreev>> others(
            g_bookmark_file_get_applications(file_.get(), uri.c_str(), &count, nullptr));
        if (count == 0) {
            g_bookmark_file_remove_item(file_.get(), uri.c_str(), nullptr);
        }
    }

    /// All of this program from the one at `start` on.
    void removeFrom(std::size_t start) {
        const auto all = files();
        for (std::size_t i = start; i < all.size(); ++i) {
            remove(all[i].uri);
        }
    }

  private:
    const char* name() const { return list_.programName_.c_str(); }

    const RecentFileList& list_;
    const std::unique_ptr<GBookmarkFile, Release<g_bookmark_file_free>> file_{
        g_bookmark_file_new()};
};

RecentFileList::RecentFileList(std::filesystem::path path, std::string programName,
                               std::string command)
    : path_(std::move(path)), programName_(std::move(programName)), command_(std::move(command)) {}

std::vector<URL> RecentFileList::files(std::size_t count) const {
    std::vector<URL> found;
    Bookmarks bookmarks(*this);
    if (!bookmarks.load()) {
        return found;
    }
    for (const DatedFile& file : bookmarks.files()) {
        const URL url = URL::parse(file.uri);
        std::error_code error;
        if (url.isFileURL() && std::filesystem::is_regular_file(url.path(), error)) {
            found.push_back(url);
        }
        if (found.size() == count) {
            break;
        }
    }
    return found;
}

void RecentFileList::add(const URL& url, const std::string& mimeType) const {
    Bookmarks bookmarks(*this);
    if (bookmarks.load()) {
        bookmarks.add(url, mimeType);
        bookmarks.removeFrom(kCapacity);
        bookmarks.save();
    }
}

void RecentFileList::remove(const URL& url) const {
    Bookmarks bookmarks(*this);
    if (bookmarks.load()) {
        bookmarks.remove(url.absoluteString());
        bookmarks.save();
    }
}

void RecentFileList::clear() const {
    Bookmarks bookmarks(*this);
    if (bookmarks.load()) {
        bookmarks.removeFrom(0);
        bookmarks.save();
    }
}

} // namespace zelvane

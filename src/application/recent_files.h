// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

#include <QObject>

#include "foundation/dispatch.h"
#include "foundation/url.h"
#include "platform/recent_files/recent_file_list.h"

namespace zelvane {

/// The files that were opened before, for menus: the list of the desktop, read and written in the
/// background. Main thread.
class RecentFiles final : public QObject {
    Q_OBJECT

  public:
    static constexpr std::size_t kMostShown = 10;

    explicit RecentFiles(const std::filesystem::path& list);
    /// The list that the programs of the desktop share.
    static std::filesystem::path defaultPath();

    /// Those that existed when the list was read, the latest first; none before that.
    const std::vector<URL>& files() const { return files_; }
    /// Reads the list; other programs change it too.
    void reload();
    /// The same, and waits for the result at most that long: a window that is made next has its
    /// size at once.
    void reloadWithin(std::chrono::milliseconds limit);
    /// Ignores what is not a file.
    void add(const URL& url);
    void remove(const URL& url);
    void clear();

  signals:
    void didChange();

  private:
    void change(std::function<void(const RecentFileList&)> change);
    void setFiles(std::vector<URL> files);

    const std::shared_ptr<const RecentFileList> list_;
    const std::shared_ptr<dispatch::Queue> queue_;
    std::vector<URL> files_;
};

} // namespace zelvane

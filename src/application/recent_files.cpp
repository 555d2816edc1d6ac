// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/recent_files.h"

#include <future>
#include <utility>

#include <QCoreApplication>
#include <QMimeDatabase>
#include <QPointer>
#include <QStandardPaths>

namespace zelvane {
namespace {

std::string mimeTypeOf(const URL& url) {
    return QMimeDatabase()
        .mimeTypeForFile(QString::fromStdString(url.path()), QMimeDatabase::MatchExtension)
        .name()
        .toStdString();
}

} // namespace

RecentFiles::RecentFiles(const std::filesystem::path& list)
    : list_(std::make_shared<const RecentFileList>(list, "Zelvane Player", "zelvane-player %u")),
      queue_(std::make_shared<dispatch::SerialQueue>("Recent Files Queue",
                                                     dispatch::QualityOfService::utility)) {}

std::filesystem::path RecentFiles::defaultPath() {
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    return std::filesystem::path(folder.toStdString()) / "recently-used.xbel";
}

void RecentFiles::reload() {
    change([](const RecentFileList&) {});
}

void RecentFiles::reloadWithin(std::chrono::milliseconds limit) {
    const auto read = std::make_shared<std::promise<std::vector<URL>>>();
    auto files = read->get_future();
    queue_->async([list = list_, read] { read->set_value(list->files(kMostShown)); });
    if (files.wait_for(limit) == std::future_status::ready) {
        setFiles(files.get());
    } else {
        reload();
    }
}

void RecentFiles::add(const URL& url) {
    if (url.isFileURL()) {
        change([url](const RecentFileList& list) { list.add(url, mimeTypeOf(url)); });
    }
}

void RecentFiles::remove(const URL& url) {
    change([url](const RecentFileList& list) { list.remove(url); });
    auto files = files_;
    std::erase(files, url);
    setFiles(std::move(files));
}

void RecentFiles::clear() {
    change([](const RecentFileList& list) { list.clear(); });
    setFiles({});
}

void RecentFiles::change(std::function<void(const RecentFileList&)> change) {
    queue_->async([list = list_, change = std::move(change), self = QPointer(this)] {
        change(*list);
        dispatch::mainQueue()->async([self, files = list->files(kMostShown)] {
            if (self) {
                self->setFiles(files);
            }
        });
    });
}

void RecentFiles::setFiles(std::vector<URL> files) {
    if (files != files_) {
        files_ = std::move(files);
        emit didChange();
    }
}

} // namespace zelvane

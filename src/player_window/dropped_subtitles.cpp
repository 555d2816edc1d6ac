// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/dropped_subtitles.h"

#include <QFile>
#include <QFileInfo>
#include <QMimeData>
#include <QUrl>

#include "media_player/media_source/subtitles_file_names.h"

namespace zelvane {
namespace {

/// The file of a URL; none for a folder or a URL of another kind.
std::optional<URL> fileAt(const QUrl& url) {
    if (!url.isLocalFile() || QFileInfo(url.toLocalFile()).isDir()) {
        return std::nullopt;
    }
    return URL::fromPath(QFile::encodeName(url.toLocalFile()).toStdString());
}

bool isNamedAsSubtitles(const QUrl& url) {
    const std::string extension = QFileInfo(url.toLocalFile()).suffix().toLower().toStdString();
    return isSubtitlesFileNameExtension(extension);
}

} // namespace

std::optional<URL> droppedSubtitles(const QMimeData& data) {
    const auto urls = data.urls();
    const auto file = urls.isEmpty() ? std::nullopt : fileAt(urls.front());
    return file && isSubtitlesFileNameExtension(pathExtension(*file)) ? file : std::nullopt;
}

std::vector<URL> droppedMedia(const QMimeData& data) {
    std::vector<URL> media;
    for (const QUrl& url : data.urls()) {
        if (const auto file = fileAt(url); file && !isNamedAsSubtitles(url)) {
            media.push_back(*file);
        }
    }
    return media;
}

} // namespace zelvane

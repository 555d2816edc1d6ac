// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/dropped_subtitles.h"

#include <QFile>
#include <QFileInfo>
#include <QMimeData>
#include <QUrl>

#include "media_player/media_source/subtitles_file_names.h"

namespace zelvane {

std::optional<URL> droppedSubtitles(const QMimeData& data) {
    const auto urls = data.urls();
    if (urls.isEmpty() || !urls.front().isLocalFile()) {
        return std::nullopt;
    }
    const QString path = urls.front().toLocalFile();
    const URL url = URL::fromPath(QFile::encodeName(path).toStdString());
    const bool isSubtitles =
        isSubtitlesFileNameExtension(pathExtension(url)) && !QFileInfo(path).isDir();
    return isSubtitles ? std::optional(url) : std::nullopt;
}

} // namespace zelvane

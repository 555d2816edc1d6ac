// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/views/media_player_view.h"

#include <QDropEvent>

#include "player_window/dropped_subtitles.h"

namespace zelvane {
MediaPlayerView::MediaPlayerView(QWidget* parent) : QWidget(parent) {
    setAcceptDrops(true);
}

bool MediaPlayerView::canCopy(const QDropEvent& event) const {
    return delegate_ != nullptr && event.possibleActions().testFlag(Qt::CopyAction);
}

std::optional<URL> MediaPlayerView::acceptableSubtitles(const QDropEvent& event) const {
    const bool canAdd = canCopy(event) && !delegate_->isAddingExternalSubtitles();
    return canAdd ? droppedSubtitles(*event.mimeData()) : std::nullopt;
}

std::vector<URL> MediaPlayerView::acceptableMedia(const QDropEvent& event) const {
    return canCopy(event) ? droppedMedia(*event.mimeData()) : std::vector<URL>();
}

void MediaPlayerView::dragEnterEvent(QDragEnterEvent* event) {
    if (acceptableSubtitles(*event) || !acceptableMedia(*event).empty()) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
    } else {
        event->ignore();
    }
}

void MediaPlayerView::dropEvent(QDropEvent* event) {
    const auto subtitles = acceptableSubtitles(*event);
    const auto media = acceptableMedia(*event);
    if (!subtitles && media.empty()) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::CopyAction);
    event->accept();
    if (subtitles) {
        delegate_->addExternalSubtitles(*subtitles);
    } else {
        delegate_->openDroppedMedia(media);
    }
}

} // namespace zelvane

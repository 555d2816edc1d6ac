// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/picture_view.h"

#include "player_window/subtitles_widget.h"

namespace zelvane {

PictureView::PictureView(QWidget* parent) : QWidget(parent), video_(makeVideoWidget(this)) {
    video_.widget->setGeometry(rect());
}

void PictureView::addOverlay(QWidget* overlay) {
    overlay->setParent(this);
    overlay->setGeometry(rect());
    overlay->raise();
    overlay->show();
}

void PictureView::addSubtitles(const std::shared_ptr<SubtitlesView>& primary,
                               const std::shared_ptr<SubtitlesView>& secondary) {
    addOverlay(std::make_unique<SubtitlesWidget>(secondary).release());
    primarySubtitles_ = std::make_unique<SubtitlesWidget>(primary).release();
    addOverlay(primarySubtitles_);
}

void PictureView::moveSubtitlesAbove(const std::optional<CGRect>& panel, int duration) {
    if (primarySubtitles_ != nullptr) {
        primarySubtitles_->avoid(panel, duration);
    }
}

void PictureView::resizeEvent(QResizeEvent* /*event*/) {
    for (auto* child : findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        child->setGeometry(rect());
    }
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/picture_view.h"

#include <utility>

#include "player_window/subtitles_widget.h"

namespace zelvane {

PictureView::PictureView(QWidget* parent)
    : QWidget(parent), video_(makeVideoWidget(this, [this] { drawOnProcessor(); })) {
    video_.widget->setGeometry(rect());
}

void PictureView::drawOnProcessor() {
    QWidget* failed = std::exchange(video_, makeRasterVideoWidget(this)).widget;
    video_.widget->setGeometry(rect());
    video_.widget->lower();
    video_.widget->show();
    // Its last event is still being handled.
    failed->setParent(nullptr);
    failed->deleteLater();
    emit didReplacePresenter();
}

void PictureView::addOverlay(QWidget* overlay) {
    overlay->setParent(this);
    overlay->setGeometry(rect());
    overlay->raise();
    overlay->show();
}

void PictureView::addSubtitles(const std::shared_ptr<SubtitlesView>& primary,
                               const std::shared_ptr<SubtitlesView>& secondary) {
    for (const auto& view : {secondary, primary}) {
        subtitles_.push_back(std::make_unique<SubtitlesWidget>(view).release());
        addOverlay(subtitles_.back());
    }
}

void PictureView::keepSubtitlesClearOf(const std::optional<ControlsOverPicture>& controls,
                                       int duration) {
    for (auto* subtitles : subtitles_) {
        subtitles->avoid(controls, duration);
    }
}

void PictureView::resizeEvent(QResizeEvent* /*event*/) {
    for (auto* child : findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        child->setGeometry(rect());
    }
}

} // namespace zelvane

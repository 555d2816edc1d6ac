// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/subtitles_widget.h"

#include <cmath>
#include <utility>

#include <QPaintEvent>
#include <QPainter>

#include "media_player/subtitles_view/subtitles_view.h"
#include "player_window/picture_layout.h"

namespace zelvane {

SubtitlesWidget::SubtitlesWidget(std::shared_ptr<SubtitlesView> subtitlesView, QWidget* parent)
    : QWidget(parent), subtitlesView_(std::move(subtitlesView)) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);
    setFocusPolicy(Qt::NoFocus);
    subtitlesView_->setSurface(this);
    ground_ = presentGround();
    layOutAll();
}

SubtitlesWidget::~SubtitlesWidget() {
    subtitlesView_->setSurface(nullptr);
}

SubtitlesWidget::Ground SubtitlesWidget::presentGround() const {
    const double ratio = devicePixelRatio();
    const CGSize surface{std::round(width() * ratio), std::round(height() * ratio)};
    const auto& dimensions = subtitlesView_->currentVideoDimensions();
    if (!dimensions) {
        return {{0, 0, surface.width, surface.height}, ratio};
    }
    const CGSize& size = dimensions->effectiveSize;
    return {layOutPicture({0, 0, size.width, size.height}, {}, surface).target, ratio};
}

void SubtitlesWidget::layOutOnNewGround() {
    const Ground ground = presentGround();
    if (ground == ground_) {
        return;
    }
    ground_ = ground;
    layOutAll();
    update();
}

void SubtitlesWidget::layOutAll() const {
    for (const auto& view : subtitlesView_->subtitleViews()) {
        layOut(*view);
    }
}

void SubtitlesWidget::layOut(SubtitleView& view) const {
    const double ratio = ground_.devicePixelRatio;
    view.setSize({ground_.picture.width / ratio, ground_.picture.height / ratio}, ratio);
}

QRect SubtitlesWidget::painted(const SubtitleView& view) const {
    const double ratio = ground_.devicePixelRatio;
    const QRectF place = view.paintedRect();
    return place.isEmpty() ? QRect()
                           : place.translated(ground_.picture.x / ratio, ground_.picture.y / ratio)
                                 .toAlignedRect();
}

void SubtitlesWidget::didAddSubtitleView(SubtitleView& view) {
    layOut(view);
    update(painted(view));
}

void SubtitlesWidget::willRemoveSubtitleView(const SubtitleView& view) {
    update(painted(view));
}

void SubtitlesWidget::videoDimensionsDidChange() {
    layOutOnNewGround();
}

void SubtitlesWidget::resizeEvent(QResizeEvent* /*event*/) {
    layOutOnNewGround();
}

void SubtitlesWidget::paintEvent(QPaintEvent* event) {
    // A window that came to another screen paints before anything else tells of it.
    layOutOnNewGround();
    const auto& views = subtitlesView_->subtitleViews();
    if (views.empty()) {
        return;
    }
    const double ratio = ground_.devicePixelRatio;
    const CGRect& picture = ground_.picture;
    QPainter painter(this);
    painter.scale(1 / ratio, 1 / ratio);
    painter.translate(picture.x, picture.y);
    painter.scale(ratio, ratio);
    painter.setClipRect(QRectF(0, 0, picture.width / ratio, picture.height / ratio));
    for (const auto& view : views) {
        if (event->region().intersects(painted(*view))) {
            view->paint(painter);
        }
    }
}

} // namespace zelvane

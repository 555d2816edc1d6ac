// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/subtitles_widget.h"

#include <cmath>
#include <utility>

#include <QPaintEvent>
#include <QPainter>

#include "player_window/picture_layout.h"
#include "player_window/views/player_view_layout.h"
#include "subtitles_view/subtitles_view.h"

namespace zelvane {

SubtitlesWidget::SubtitlesWidget(std::shared_ptr<SubtitlesView> subtitlesView, QWidget* parent)
    : QWidget(parent), subtitlesView_(std::move(subtitlesView)) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);
    setFocusPolicy(Qt::NoFocus);
    liftAnimation_.setEasingCurve(QEasingCurve::OutCubic);
    connect(&liftAnimation_, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& value) { setLift(value.toDouble()); });
    subtitlesView_->setSurface(this);
    area_ = presentArea();
    layOutAll();
}

SubtitlesWidget::~SubtitlesWidget() {
    subtitlesView_->removeSurface(*this);
}

SubtitlesWidget::Area SubtitlesWidget::presentArea() const {
    const double ratio = devicePixelRatio();
    const CGSize surface{std::round(width() * ratio), std::round(height() * ratio)};
    const auto& dimensions = subtitlesView_->currentVideoDimensions();
    if (!dimensions) {
        return {{0, 0, surface.width, surface.height}, ratio};
    }
    const CGSize& size = dimensions->effectiveSize;
    return {layOutPicture({0, 0, size.width, size.height}, {}, surface).target, ratio};
}

void SubtitlesWidget::layOutIfAreaChanged() {
    const Area area = presentArea();
    if (area == area_) {
        return;
    }
    area_ = area;
    layOutAll();
    moveToWantedLift(0);
    update();
}

void SubtitlesWidget::layOutAll() const {
    for (const auto& view : subtitlesView_->subtitleViews()) {
        layOut(*view);
    }
}

void SubtitlesWidget::layOut(SubtitleView& view) const {
    const double ratio = area_.devicePixelRatio;
    view.setSize({area_.picture.width / ratio, area_.picture.height / ratio}, ratio);
}

void SubtitlesWidget::avoid(const std::optional<CGRect>& panel, int duration) {
    panel_ = panel;
    moveToWantedLift(duration);
}

bool SubtitlesWidget::isInLowerHalf(const SubtitleView& view) const {
    return view.paintedRect().center().y() * area_.devicePixelRatio > area_.picture.height / 2;
}

QRectF SubtitlesWidget::placeOf(const SubtitleView& view) const {
    const double ratio = area_.devicePixelRatio;
    return view.paintedRect().translated(area_.picture.x / ratio, area_.picture.y / ratio);
}

QRect SubtitlesWidget::painted(const SubtitleView& view) const {
    const QRectF place = placeOf(view);
    const double lift = isInLowerHalf(view) ? lift_ : 0;
    return place.isEmpty() ? QRect() : place.translated(0, -lift).toAlignedRect();
}

double SubtitlesWidget::wantedLift() const {
    QRectF text;
    for (const auto& view : subtitlesView_->subtitleViews()) {
        text |= isInLowerHalf(*view) ? placeOf(*view) : QRectF();
    }
    if (!panel_ || text.isEmpty()) {
        return 0;
    }
    const double ratio = area_.devicePixelRatio;
    const CGRect& picture = area_.picture;
    const double lift = subtitlesLift(
        {text.x(), text.y(), text.width(), text.height()}, *panel_,
        {picture.x / ratio, picture.y / ratio, picture.width / ratio, picture.height / ratio});
    return std::ceil(lift * ratio) / ratio;
}

void SubtitlesWidget::moveToWantedLift(int duration) {
    const double lift = wantedLift();
    liftAnimation_.stop();
    if (duration <= 0 || lift == lift_) {
        setLift(lift);
        return;
    }
    liftAnimation_.setStartValue(lift_);
    liftAnimation_.setEndValue(lift);
    liftAnimation_.setDuration(duration);
    liftAnimation_.start();
}

void SubtitlesWidget::setLift(double lift) {
    // Letters are pictures for whole pixels.
    const double ratio = area_.devicePixelRatio;
    const double aligned = std::round(lift * ratio) / ratio;
    if (aligned == lift_) {
        return;
    }
    const auto updateAll = [this] {
        for (const auto& view : subtitlesView_->subtitleViews()) {
            update(painted(*view));
        }
    };
    updateAll();
    lift_ = aligned;
    updateAll();
}

void SubtitlesWidget::didAddSubtitleView(SubtitleView& view) {
    layOut(view);
    moveToWantedLift(0);
    update(painted(view));
}

void SubtitlesWidget::willRemoveSubtitleView(const SubtitleView& view) {
    update(painted(view));
}

void SubtitlesWidget::videoDimensionsDidChange() {
    layOutIfAreaChanged();
}

void SubtitlesWidget::resizeEvent(QResizeEvent* /*event*/) {
    layOutIfAreaChanged();
}

void SubtitlesWidget::paintEvent(QPaintEvent* event) {
    // A window on another screen paints before any other event reports the move.
    layOutIfAreaChanged();
    const auto& views = subtitlesView_->subtitleViews();
    if (views.empty()) {
        return;
    }
    const double ratio = area_.devicePixelRatio;
    const CGRect& picture = area_.picture;
    QPainter painter(this);
    painter.scale(1 / ratio, 1 / ratio);
    painter.translate(picture.x, picture.y);
    painter.scale(ratio, ratio);
    painter.setClipRect(QRectF(0, 0, picture.width / ratio, picture.height / ratio));
    for (const auto& view : views) {
        if (event->region().intersects(painted(*view))) {
            const double lift = isInLowerHalf(*view) ? lift_ : 0;
            painter.translate(0, -lift);
            view->paint(painter);
            painter.translate(0, lift);
        }
    }
}

} // namespace zelvane

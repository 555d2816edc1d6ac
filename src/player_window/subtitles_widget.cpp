// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/subtitles_widget.h"

#include <cmath>
#include <utility>

#include <QPaintEvent>
#include <QPainter>

#include "player_window/controls/widget_geometry.h"
#include "player_window/picture_layout.h"
#include "subtitles_view/subtitles_view.h"

namespace zelvane {

SubtitlesWidget::SubtitlesWidget(std::shared_ptr<SubtitlesView> subtitlesView, QWidget* parent)
    : QWidget(parent), subtitlesView_(std::move(subtitlesView)) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);
    setFocusPolicy(Qt::NoFocus);
    animation_.setStartValue(0.0);
    animation_.setEndValue(1.0);
    animation_.setEasingCurve(QEasingCurve::OutCubic);
    connect(&animation_, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        const double share = value.toDouble();
        setShift({std::lerp(startShift_.upper, endShift_.upper, share),
                  std::lerp(startShift_.lower, endShift_.lower, share)});
    });
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
    moveToWantedShift(0);
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

void SubtitlesWidget::avoid(const std::optional<ControlsOverPicture>& controls, int duration) {
    controls_ = controls;
    moveToWantedShift(duration);
}

bool SubtitlesWidget::isInLowerHalf(const SubtitleView& view) const {
    return view.paintedRect().center().y() * area_.devicePixelRatio > area_.picture.height / 2;
}

QRectF SubtitlesWidget::placeOf(const SubtitleView& view) const {
    const double ratio = area_.devicePixelRatio;
    return view.paintedRect().translated(area_.picture.x / ratio, area_.picture.y / ratio);
}

double SubtitlesWidget::shiftOf(const SubtitleView& view) const {
    return isInLowerHalf(view) ? shift_.lower : shift_.upper;
}

QRect SubtitlesWidget::painted(const SubtitleView& view) const {
    const QRectF place = placeOf(view);
    return place.isEmpty() ? QRect() : place.translated(0, shiftOf(view)).toAlignedRect();
}

SubtitlesWidget::Shift SubtitlesWidget::wantedShift() const {
    if (!controls_) {
        return {};
    }
    QRectF upper;
    QRectF lower;
    for (const auto& view : subtitlesView_->subtitleViews()) {
        (isInLowerHalf(*view) ? lower : upper) |= placeOf(*view);
    }
    const double ratio = area_.devicePixelRatio;
    const CGRect picture{area_.picture.x / ratio, area_.picture.y / ratio,
                         area_.picture.width / ratio, area_.picture.height / ratio};
    const auto wholePixels = [ratio](double distance) {
        return std::ceil(distance * ratio) / ratio;
    };
    Shift shift;
    if (!upper.isEmpty()) {
        shift.upper = wholePixels(subtitlesDrop(rectOf(upper), controls_->titleBar, picture));
    }
    if (!lower.isEmpty()) {
        shift.lower = -wholePixels(subtitlesLift(rectOf(lower), controls_->panel, picture));
    }
    return shift;
}

void SubtitlesWidget::moveToWantedShift(int duration) {
    animation_.stop();
    startShift_ = shift_;
    endShift_ = wantedShift();
    if (duration <= 0 || endShift_ == shift_) {
        setShift(endShift_);
        return;
    }
    animation_.setDuration(duration);
    animation_.start();
}

void SubtitlesWidget::setShift(const Shift& shift) {
    // Letters are pictures for whole pixels.
    const auto aligned = [ratio = area_.devicePixelRatio](double distance) {
        return std::round(distance * ratio) / ratio;
    };
    const Shift next{aligned(shift.upper), aligned(shift.lower)};
    if (next == shift_) {
        return;
    }
    const auto updateAll = [this] {
        for (const auto& view : subtitlesView_->subtitleViews()) {
            update(painted(*view));
        }
    };
    updateAll();
    shift_ = next;
    updateAll();
}

void SubtitlesWidget::didAddSubtitleView(SubtitleView& view) {
    layOut(view);
    moveToWantedShift(0);
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
            const double shift = shiftOf(*view);
            painter.translate(0, shift);
            view->paint(painter);
            painter.translate(0, -shift);
        }
    }
}

} // namespace zelvane

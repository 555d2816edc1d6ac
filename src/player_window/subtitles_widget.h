// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>

#include <QVariantAnimation>
#include <QWidget>

#include "foundation/geometry.h"
#include "player_window/views/player_view_layout.h"
#include "subtitles_view/subtitles_surface.h"

namespace zelvane {

class SubtitlesView;

/// Draws the subtitles of one position over the picture, and not on the bars around it. Transparent
/// for the mouse. Lays subtitles out when they appear and when the size changes; other repaints,
/// mostly for new pictures, copy them. Where the controls would cover them, subtitles in the lower
/// half of the picture move up together, and those in the upper half move down. Main thread.
class SubtitlesWidget final : public QWidget, private SubtitlesSurface {
  public:
    /// Of several widgets for one view, the last one shows it. Owns a reference to the view.
    explicit SubtitlesWidget(std::shared_ptr<SubtitlesView> subtitlesView,
                             QWidget* parent = nullptr);
    ~SubtitlesWidget() override;
    SubtitlesWidget(const SubtitlesWidget&) = delete;
    SubtitlesWidget& operator=(const SubtitlesWidget&) = delete;

    /// What subtitles must not be under, in points of this widget; none lets them return. They move
    /// over `duration` in milliseconds; 0 moves them at once.
    void avoid(const std::optional<ControlsOverPicture>& controls, int duration);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void didAddSubtitleView(SubtitleView& view) override;
    void willRemoveSubtitleView(const SubtitleView& view) override;
    void videoDimensionsDidChange() override;

    /// The place of subtitles, and the resolution of the screen.
    struct Area {
        /// In device pixels.
        CGRect picture;
        double devicePixelRatio = 1;
        friend bool operator==(const Area&, const Area&) = default;
    };
    Area presentArea() const;
    void layOutIfAreaChanged();
    void layOutAll() const;
    void layOut(SubtitleView& view) const;
    /// How far the subtitles of both halves are below their places, in points.
    struct Shift {
        double upper = 0;
        double lower = 0;
        friend bool operator==(const Shift&, const Shift&) = default;
    };
    bool isInLowerHalf(const SubtitleView& view) const;
    /// The place of a subtitle in points of this widget, before it moves.
    QRectF placeOf(const SubtitleView& view) const;
    double shiftOf(const SubtitleView& view) const;
    QRect painted(const SubtitleView& view) const;
    Shift wantedShift() const;
    void moveToWantedShift(int duration);
    void setShift(const Shift& shift);

    const std::shared_ptr<SubtitlesView> subtitlesView_;
    Area area_;
    std::optional<ControlsOverPicture> controls_;
    Shift shift_;
    Shift startShift_;
    Shift endShift_;
    /// Its value is the share of the way from the start to the end.
    QVariantAnimation animation_;
};

} // namespace zelvane

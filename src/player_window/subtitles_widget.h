// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include <QWidget>

#include "foundation/geometry.h"
#include "media_player/subtitles_view/subtitles_surface.h"

namespace zelvane {

class SubtitlesView;

/// Draws the subtitles of one position over the picture, of which it knows the shape from them, and
/// nowhere else. Lets the mouse through. Subtitles are laid out when they appear and when the size
/// changes; whatever else has to be painted again, the picture underneath above all, copies them.
/// Main thread.
class SubtitlesWidget final : public QWidget, private SubtitlesSurface {
  public:
    /// Of several for one view, the last shows it. Keeps the view for as long as it lives.
    explicit SubtitlesWidget(std::shared_ptr<SubtitlesView> subtitlesView,
                             QWidget* parent = nullptr);
    ~SubtitlesWidget() override;
    SubtitlesWidget(const SubtitlesWidget&) = delete;
    SubtitlesWidget& operator=(const SubtitlesWidget&) = delete;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void didAddSubtitleView(SubtitleView& view) override;
    void willRemoveSubtitleView(const SubtitleView& view) override;
    void videoDimensionsDidChange() override;

    /// Where subtitles lie, for which screen.
    struct Ground {
        /// In device pixels.
        CGRect picture;
        double devicePixelRatio = 1;
        friend bool operator==(const Ground&, const Ground&) = default;
    };
    Ground presentGround() const;
    void layOutOnNewGround();
    void layOutAll() const;
    void layOut(SubtitleView& view) const;
    QRect painted(const SubtitleView& view) const;

    const std::shared_ptr<SubtitlesView> subtitlesView_;
    Ground ground_;
};

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include <QWidget>

#include "player_window/video_widget.h"
#include "player_window/views/player_view_layout.h"

namespace zelvane {

class SubtitlesView;
class SubtitlesWidget;

/// The picture and its overlays, as one group that moves to another window with another parent. The
/// move keeps its surface and presenter. When the GPU fails, a surface on the CPU replaces the one
/// that it drew. Main thread.
class PictureView final : public QWidget {
    Q_OBJECT

  public:
    explicit PictureView(QWidget* parent);

    std::shared_ptr<VideoPresenter> presenter() const { return video_.presenter; }
    /// For what is blurred over the picture; empty where the picture is on the GPU alone. Not to be
    /// called after this view's end.
    const PaintPicture& paintPicture() const { return video_.paintPicture; }
    /// Adds a translucent widget over the picture, in front of earlier ones and as large as the
    /// view, and takes its ownership.
    void addOverlay(QWidget* overlay);
    /// Shows both positions' subtitles over the picture, the primary ones in front.
    void addSubtitles(const std::shared_ptr<SubtitlesView>& primary,
                      const std::shared_ptr<SubtitlesView>& secondary);
    /// Moves the subtitles away from what is over the picture, as SubtitlesWidget::avoid().
    void keepSubtitlesClearOf(const std::optional<ControlsOverPicture>& controls, int duration);

  signals:
    /// A surface on the CPU has replaced that on the GPU. The old presenter shows nothing more, and
    /// Qt composes the window with a context that may be lost until the window is recreated.
    void didReplacePresenter();

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    void drawOnProcessor();

    VideoWidget video_;
    /// From back to front, owned by this widget.
    std::vector<SubtitlesWidget*> subtitles_;
};

} // namespace zelvane

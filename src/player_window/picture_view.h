// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include <QWidget>

#include "player_window/video_widget.h"

namespace zelvane {

class SubtitlesView;

/// The picture and what lies over it, as one group that can be taken to another window and back by
/// giving it another parent. Its surface and the presenter stay the same through the move. Main
/// thread.
class PictureView final : public QWidget {
  public:
    explicit PictureView(QWidget* parent);

    std::shared_ptr<VideoPresenter> presenter() const { return video_.presenter; }
    /// Takes a translucent widget over the picture, in front of earlier ones, as large as the view.
    /// Owns it from now on.
    void addOverlay(QWidget* overlay);
    /// Shows both positions' subtitles over the picture, the primary ones in front.
    void addSubtitles(const std::shared_ptr<SubtitlesView>& primary,
                      const std::shared_ptr<SubtitlesView>& secondary);

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    VideoWidget video_;
};

} // namespace zelvane

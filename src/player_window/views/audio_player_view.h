// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "player_window/views/media_player_view.h"

namespace zelvane {

class ControlsView;

/// The content of a window for sound alone: the controls below the title bar. Its size is fixed.
/// Main thread.
class AudioPlayerView final : public MediaPlayerView {
  public:
    /// Takes `controlsView`.
    AudioPlayerView(ControlsView* controlsView, QWidget* parent);

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    ControlsView* controlsView_;
};

} // namespace zelvane

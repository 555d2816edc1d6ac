// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "player_window/controls/backdrop.h"
#include "player_window/controls/fading_panel.h"

namespace zelvane {

/// The panel under the controls of a film: the picture under it, blurred and darkened. Where the
/// picture cannot be had, and with high contrast, it is a plain dark panel. Main thread.
class FloatingControls final : public FadingPanel {
  public:
    FloatingControls(PaintPicture paintPicture, QWidget* parent);

  protected:
    // A press that misses a control must not move the window or fill the screen.
    void mousePressEvent(QMouseEvent* event) override;

  private:
    void paintGround(QPainter& painter) override;
    /// The color or the tinted picture that fills the panel.
    QBrush ground() const;

    PaintPicture paintPicture_;
};

} // namespace zelvane

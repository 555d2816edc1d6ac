// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <memory>

#include <QImage>
#include <QWidget>

#include "foundation/geometry.h"
#include "player_window/picture_layout.h"
#include "player_window/surface_presenter.h"

namespace zelvane {

using RasterPresenter = SurfacePresenter<QImage>;

/// A video surface without graphics hardware: the display layer's thread converts pictures to RGB,
/// and the main thread copies them to the window once. Main thread.
class RasterVideoWidget final : public QWidget {
  public:
    explicit RasterVideoWidget(QWidget* parent, RasterPresenter::Convert convert,
                               std::shared_ptr<HostClock> clock = HostClock::system());
    ~RasterVideoWidget() override;
    RasterVideoWidget(const RasterVideoWidget&) = delete;
    RasterVideoWidget& operator=(const RasterVideoWidget&) = delete;

    std::shared_ptr<VideoPresenter> presenter() const { return presenter_; }
    /// Converts and draws the newest frame again.
    void convertAgain() { presenter_->convertAgain(); }
    /// Paints the newest picture as it is on the screen, in points of the window; false without a
    /// picture.
    bool paintPicture(QPainter& painter) const;

  protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    void drawNewest();
    CGSize deviceSize() const;
    PictureLayout layoutOf(const RasterPresenter::Content& content) const;

    std::shared_ptr<RasterPresenter> presenter_;
    std::atomic<bool> isUpdatePending_{false};
    CGRect lastTarget_;
};

} // namespace zelvane

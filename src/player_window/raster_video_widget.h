// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <memory>

#include <QImage>
#include <QWidget>

#include "foundation/geometry.h"
#include "player_window/surface_presenter.h"

namespace zelvane {

using RasterPresenter = SurfacePresenter<QImage>;

/// A video surface that needs no graphics hardware: pictures become RGB on the display layer's
/// thread, and the main thread copies them to the window once. Main thread.
class RasterVideoWidget final : public QWidget {
  public:
    explicit RasterVideoWidget(QWidget* parent, RasterPresenter::Convert convert,
                               std::shared_ptr<HostClock> clock = HostClock::system());
    ~RasterVideoWidget() override;
    RasterVideoWidget(const RasterVideoWidget&) = delete;
    RasterVideoWidget& operator=(const RasterVideoWidget&) = delete;

    std::shared_ptr<VideoPresenter> presenter() const { return presenter_; }

  protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    void drawNewest();
    CGSize deviceSize() const;

    std::shared_ptr<RasterPresenter> presenter_;
    std::atomic<bool> isWoken_{false};
    CGRect lastTarget_;
};

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include <QOpenGLWidget>

#include "platform/video_placebo/placebo_renderer.h"
#include "player_window/surface_presenter.h"

namespace zelvane {

using PlaceboPresenter = SurfacePresenter<CVPixelBufferRef>;

/// A video surface on the GPU, which takes decoded frames and does colour, scaling and rotation.
/// Main thread.
class PlaceboVideoWidget final : public QOpenGLWidget {
  public:
    /// `onFailure` is called at most once, from the event loop, when a picture could not be drawn:
    /// the context is lost, or libplacebo refuses it.
    PlaceboVideoWidget(QWidget* parent, PlaceboRenderer::SoftwareGL softwareGL,
                       std::function<void()> onFailure,
                       std::shared_ptr<HostClock> clock = HostClock::system());
    ~PlaceboVideoWidget() override;
    PlaceboVideoWidget(const PlaceboVideoWidget&) = delete;
    PlaceboVideoWidget& operator=(const PlaceboVideoWidget&) = delete;

    std::shared_ptr<VideoPresenter> presenter() const { return presenter_; }

    /// Whether this machine draws such a surface faster than the CPU. Makes an offscreen context.
    static bool isWorthwhile(PlaceboRenderer::SoftwareGL softwareGL);

  protected:
    bool event(QEvent* event) override;
    void initializeGL() override;
    void paintEvent(QPaintEvent* event) override;
    void paintGL() override;

  private:
    void drawNewest();
    void bindToWindow();
    void releaseGraphics();
    bool drawNewestTo(PlaceboRenderer& renderer);
    void reportFailure();
    PlaceboRenderer::Target targetFor(const PlaceboPresenter::Content& content) const;

    const PlaceboRenderer::SoftwareGL softwareGL_;
    /// Read on the layer's thread.
    const std::shared_ptr<std::atomic<bool>> importsPictures_ =
        std::make_shared<std::atomic<bool>>(false);
    std::shared_ptr<PlaceboPresenter> presenter_;
    std::unique_ptr<PlaceboRenderer> renderer_;
    std::atomic<bool> isUpdatePending_{false};
    bool didChangeWindow_ = false;
    bool didDraw_ = false;
    bool isProfileSet_ = false;
    std::function<void()> onFailure_;
    QMetaObject::Connection contextConnection_;
};

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/placebo_video_widget.h"

#include <cmath>
#include <utility>

#include <QCoreApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QResizeEvent>

#include "foundation/log.h"
#include "platform/video_placebo/device_picture.h"
#include "player_window/picture_layout.h"

namespace zelvane {
namespace {

/// Brings the frame to memory on the layer's thread; the samples go to the graphics processor where
/// the context is, when it is drawn.
PlaceboPresenter::PictureRef uploadable(const PresentedFrame& frame) {
    auto picture = pictureInMemory(frame.pixelBuffer);
    return picture == nullptr ? nullptr : std::make_shared<CVPixelBufferRef>(std::move(picture));
}

} // namespace

PlaceboVideoWidget::PlaceboVideoWidget(QWidget* parent, PlaceboRenderer::SoftwareGL softwareGL,
                                       std::shared_ptr<HostClock> clock)
    : QOpenGLWidget(parent), softwareGL_(softwareGL),
      presenter_(std::make_shared<PlaceboPresenter>(uploadable, std::move(clock))) {
    connect(this, &QOpenGLWidget::frameSwapped, this, [this] {
        presenter_->didReachScreen();
        if (std::exchange(didChangeWindow_, false)) {
            QMetaObject::invokeMethod(this, &PlaceboVideoWidget::bindToWindow,
                                      Qt::QueuedConnection);
        }
    });
    presenter_->attach([this] {
        if (!isWoken_.exchange(true)) {
            QMetaObject::invokeMethod(this, &PlaceboVideoWidget::drawNewest, Qt::QueuedConnection);
        }
    });
}

PlaceboVideoWidget::~PlaceboVideoWidget() {
    presenter_->detach();
    releaseGraphics();
}

bool PlaceboVideoWidget::isWorthwhile(PlaceboRenderer::SoftwareGL softwareGL) {
    QOffscreenSurface surface;
    surface.create();
    QOpenGLContext context;
    if (!surface.isValid() || !context.create() || !context.makeCurrent(&surface)) {
        return false;
    }
    const bool isWorthwhile = PlaceboRenderer::create(softwareGL) != nullptr;
    context.doneCurrent();
    return isWorthwhile;
}

bool PlaceboVideoWidget::event(QEvent* event) {
    if (event->type() == QEvent::WindowChangeInternal) {
        didChangeWindow_ = true;
    }
    return QOpenGLWidget::event(event);
}

void PlaceboVideoWidget::bindToWindow() {
    // Qt ties the widget's texture to the window that composes it when the texture is made, and a
    // widget that moves keeps its texture: until it is made anew the other window shows black.
    QResizeEvent sameSize(size(), size());
    QCoreApplication::sendEvent(this, &sameSize);
    update();
}

void PlaceboVideoWidget::initializeGL() {
    // The widget may get another context in another window, and what was made in the old one goes
    // with it.
    contextGoes_ = connect(context(), &QOpenGLContext::aboutToBeDestroyed, this,
                           &PlaceboVideoWidget::releaseGraphics);
    renderer_ = PlaceboRenderer::create(softwareGL_);
    if (renderer_ == nullptr) {
        logMessage("Failed to start drawing on the graphics processor.");
    }
}

void PlaceboVideoWidget::releaseGraphics() {
    disconnect(contextGoes_);
    if (renderer_ != nullptr) {
        makeCurrent();
        renderer_ = nullptr;
        doneCurrent();
    }
}

void PlaceboVideoWidget::drawNewest() {
    isWoken_ = false;
    update();
}

PlaceboRenderer::Target
PlaceboVideoWidget::targetFor(const PlaceboPresenter::Content& content) const {
    const double ratio = devicePixelRatio();
    const CGSize surface{std::round(width() * ratio), std::round(height() * ratio)};
    const auto orientation = pictureOrientation(content.transform);
    PlaceboRenderer::Target target;
    target.framebuffer = defaultFramebufferObject();
    target.width = static_cast<int>(surface.width);
    target.height = static_cast<int>(surface.height);
    target.picture = layOutPicture(content.bounds, content.transform, surface).target;
    target.quarterTurns = orientation.quarterTurns;
    target.isMirrored = orientation.isMirrored;
    return target;
}

void PlaceboVideoWidget::paintGL() {
    const auto content = presenter_->takeContent();
    if (renderer_ == nullptr) {
        return;
    }
    const auto target = targetFor(content);
    if (content.picture == nullptr || target.picture == CGRect{}) {
        renderer_->clear(target);
    } else {
        renderer_->draw(*content.picture, target);
    }
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/placebo_video_widget.h"

#include <cmath>
#include <utility>

#include <QCoreApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QResizeEvent>

#include "core_media/device_picture.h"
#include "foundation/log.h"
#include "player_window/desktop/display_profile.h"
#include "player_window/picture_layout.h"
#include "rendering/frame_schedule.h"

namespace zelvane {
namespace {

static_assert(kDeviceFramesHeldByPlayer >= FrameSchedule::Limits{}.frames + 5);

/// The frame in the form that draw() handles at the least cost on the main thread. Runs on the
/// layer's thread.
PlaceboPresenter::PictureRef drawable(const CVPixelBufferRef& frame, bool importsPictures) {
    const AVFrame* const onDevice = frame->deviceFrame();
    const bool staysThere =
        onDevice == nullptr || (importsPictures && onDevice->format == AV_PIX_FMT_VAAPI);
    auto picture = staysThere ? frame : downloadedPicture(*frame);
    if (picture == nullptr) {
        logMessage("Failed to copy a frame from the video decoder.");
        return nullptr;
    }
    return std::make_shared<CVPixelBufferRef>(std::move(picture));
}

/// Whether calls of OpenGL reach the context that Qt has made current. For Qt, a lost context stays
/// current; calls without a context end the process.
bool isCurrent(QOpenGLContext* context) {
    return context != nullptr && context->surface() != nullptr &&
           context->makeCurrent(context->surface());
}

} // namespace

PlaceboVideoWidget::PlaceboVideoWidget(QWidget* parent, PlaceboRenderer::SoftwareGL softwareGL,
                                       std::function<void()> onFailure,
                                       std::shared_ptr<HostClock> clock)
    : QOpenGLWidget(parent), softwareGL_(softwareGL),
      presenter_(std::make_shared<PlaceboPresenter>(
          [imports = importsPictures_](const PresentedFrame& frame) {
              return drawable(frame.pixelBuffer, *imports);
          },
          std::move(clock))),
      onFailure_(std::move(onFailure)) {
    connect(this, &QOpenGLWidget::frameSwapped, this, [this] {
        presenter_->didReachScreen();
        if (std::exchange(didChangeWindow_, false)) {
            QMetaObject::invokeMethod(this, &PlaceboVideoWidget::bindToWindow,
                                      Qt::QueuedConnection);
        }
    });
    connect(&DisplayProfile::shared(), &DisplayProfile::didChange, this, [this] {
        isProfileSet_ = false;
        update();
    });
    presenter_->attach([this] {
        if (!isUpdatePending_.exchange(true)) {
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
    // Qt binds the widget's texture to the window in which it is made, and a widget keeps its
    // texture when it moves: the other window is black until the texture is made again.
    QResizeEvent sameSize(size(), size());
    QCoreApplication::sendEvent(this, &sameSize);
    update();
}

void PlaceboVideoWidget::initializeGL() {
    // The widget may get another context in another window, and the old one destroys its objects.
    contextConnection_ = connect(context(), &QOpenGLContext::aboutToBeDestroyed, this,
                                 &PlaceboVideoWidget::releaseGraphics);
    renderer_ = PlaceboRenderer::create(softwareGL_);
    isProfileSet_ = false;
    if (renderer_ != nullptr) {
        *importsPictures_ = renderer_->importsPictures();
    }
}

void PlaceboVideoWidget::releaseGraphics() {
    disconnect(contextConnection_);
    if (renderer_ == nullptr) {
        return;
    }
    makeCurrent();
    if (isCurrent(context())) {
        renderer_ = nullptr;
        doneCurrent();
    } else {
        // The context is lost, and its objects with it. Releasing them in another context would
        // delete that one's objects of the same names.
        static_cast<void>(renderer_.release());
    }
}

void PlaceboVideoWidget::drawNewest() {
    isUpdatePending_ = false;
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

void PlaceboVideoWidget::paintEvent(QPaintEvent* event) {
    didDraw_ = false;
    QOpenGLWidget::paintEvent(event);
    // Qt does not call paintGL() without a usable context.
    if (!didDraw_ && isVisible() && updatesEnabled()) {
        reportFailure();
    }
}

void PlaceboVideoWidget::paintGL() {
    didDraw_ = renderer_ != nullptr && isCurrent(context()) && drawNewestTo(*renderer_);
}

bool PlaceboVideoWidget::drawNewestTo(PlaceboRenderer& renderer) {
    const auto content = presenter_->takeContent();
    const auto target = targetFor(content);
    if (content.picture == nullptr || target.picture == CGRect{}) {
        renderer.clear(target);
        return true;
    }
    if (!std::exchange(isProfileSet_, true)) {
        renderer.setDisplayProfile(DisplayProfile::shared().displayColor().iccProfile);
    }
    const bool didDraw = renderer.draw(*content.picture, target);
    *importsPictures_ = renderer.importsPictures();
    return didDraw;
}

void PlaceboVideoWidget::reportFailure() {
    if (auto handler = std::exchange(onFailure_, nullptr)) {
        logMessage("Failed to draw on the graphics processor; drawing on the CPU instead.");
        QMetaObject::invokeMethod(this, std::move(handler), Qt::QueuedConnection);
    }
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/video_widget.h"

#include <utility>

#include <QCoreApplication>
#include <QSurfaceFormat>

#include "player_window/desktop/display_profile.h"
#include "player_window/graphics_device.h"
#include "player_window/placebo_video_widget.h"
#include "player_window/raster_picture_maker.h"
#include "player_window/raster_video_widget.h"

namespace zelvane {
namespace {

VideoWidget makePlaceboVideoWidget(QWidget* parent, PlaceboRenderer::SoftwareGL softwareGL,
                                   std::function<void()> onFailure) {
    // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): Qt's parent
    auto* widget = new PlaceboVideoWidget(parent, softwareGL, std::move(onFailure));
    return {widget, widget->presenter()};
}

bool allowsSoftwareGL() {
    return qEnvironmentVariableIntValue("ZELVANE_ALLOW_SOFTWARE_GL") != 0;
}

} // namespace

void prepareApplication() {
    if (allowsSoftwareGL() || hasGraphicsDevice()) {
        shareGraphicsContexts();
    }
}

void shareGraphicsContexts() {
    // GLX contexts cannot import a video decoder's pictures.
    if (!qEnvironmentVariableIsSet("QT_XCB_GL_INTEGRATION")) {
        qputenv("QT_XCB_GL_INTEGRATION", "xcb_egl");
    }
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QSurfaceFormat format;
    format.setRenderableType(QSurfaceFormat::OpenGL);
    format.setProfile(QSurfaceFormat::CoreProfile);
    format.setVersion(3, 3);
    QSurfaceFormat::setDefaultFormat(format);
}

VideoWidget makeRasterVideoWidget(QWidget* parent) {
    const DisplayProfile& profile = DisplayProfile::shared();
    auto maker = std::make_shared<RasterPictureMaker>(profile.displayColor());
    auto* widget = new RasterVideoWidget( // NOLINT(cppcoreguidelines-owning-memory): Qt's parent
        parent, [maker](const PresentedFrame& frame) { return maker->make(frame); });
    QObject::connect(&profile, &DisplayProfile::didChange, widget, [maker, widget, &profile] {
        maker->setDisplay(profile.displayColor());
        widget->convertAgain();
    });
    return {widget, widget->presenter(),
            [widget](QPainter& painter) { return widget->paintPicture(painter); }};
}

VideoWidget makeVideoWidget(QWidget* parent, std::function<void()> onFailure) {
    const auto softwareGL = allowsSoftwareGL() ? PlaceboRenderer::SoftwareGL::allowed
                                               : PlaceboRenderer::SoftwareGL::refused;
    const bool mayDraw = allowsSoftwareGL() || hasGraphicsDevice();
    return mayDraw && PlaceboVideoWidget::isWorthwhile(softwareGL)
               ? makePlaceboVideoWidget(parent, softwareGL, std::move(onFailure))
               : makeRasterVideoWidget(parent);
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include <QApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QScreen>
#include <QWidget>
#include <QWindow>

#include "core_media/cv_pixel_buffer.h"
#include "player_window/desktop/desktop_settings.h"
#include "rendering/video_presenter.h"

namespace zelvane::test {

/// Runs the event loop until `done` holds; false when it still does not after some seconds.
inline bool runUntil(const std::function<bool()>& done) {
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > 30'000) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 50);
    }
    return true;
}

inline bool showAndWait(QWidget& window) {
    window.show();
    return runUntil(
        [&] { return window.windowHandle() != nullptr && window.windowHandle()->isExposed(); });
}

/// The desktop prefers this until the object is destroyed.
struct DesktopWith {
    explicit DesktopWith(const DesktopPreferences& preferences) {
        DesktopSettings::shared().setPreferences(preferences);
    }
    ~DesktopWith() { DesktopSettings::shared().setPreferences({}); }
    DesktopWith(const DesktopWith&) = delete;
    DesktopWith& operator=(const DesktopWith&) = delete;
};

/// The frontmost child of that class; null when there is none. QObject::findChild takes classes
/// without a meta-object for their base.
template <class Child>
Child* childOf(const QWidget& parent) {
    Child* found = nullptr;
    for (auto* child : parent.findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        auto* cast = dynamic_cast<Child*>(child);
        found = cast != nullptr ? cast : found;
    }
    return found;
}

/// A screenshot of the widget's area.
inline QImage screenshot(const QWidget& widget) {
    const QPoint corner = widget.mapToGlobal(QPoint(0, 0));
    return QGuiApplication::primaryScreen()
        ->grabWindow(0, corner.x(), corner.y(), widget.width(), widget.height())
        .toImage()
        .convertToFormat(QImage::Format_RGB32);
}

/// Whether the colours of one pixel agree within `tolerance` code values each.
inline bool isNear(QRgb a, QRgb b, int tolerance = 2) {
    return std::abs(qRed(a) - qRed(b)) <= tolerance &&
           std::abs(qGreen(a) - qGreen(b)) <= tolerance &&
           std::abs(qBlue(a) - qBlue(b)) <= tolerance;
}

inline constexpr QRgb kRed = 0xffff0000;
inline constexpr QRgb kGreen = 0xff00ff00;
inline constexpr QRgb kBlue = 0xff0000ff;
inline constexpr QRgb kYellow = 0xffffff00;
inline constexpr QRgb kBlack = 0xff000000;

/// A picture of four rectangles: red, green over blue, yellow. sRGB.
inline CVPixelBufferRef fourFields(int width, int height) {
    auto image = std::make_shared<QImage>(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const bool isLeft = x < width / 2;
            const bool isTop = y < height / 2;
            image->setPixel(x, y, isTop ? (isLeft ? kRed : kGreen) : (isLeft ? kBlue : kYellow));
        }
    }
    CVPixelBuffer::Geometry geometry{kCVPixelFormatType_32BGRA, width, height, 1, {}};
    geometry.planes[0] = {image->bits(), static_cast<std::size_t>(image->bytesPerLine()), width,
                          height};
    auto buffer = CVPixelBuffer::overMemory(geometry, image);
    buffer->setAttachment(kCVImageBufferColorPrimariesKey,
                          std::string(kCVImageBufferColorPrimaries_ITU_R_709_2));
    buffer->setAttachment(kCVImageBufferTransferFunctionKey,
                          std::string(kCVImageBufferTransferFunction_sRGB));
    return buffer;
}

inline PresentedFrame frameOf(CVPixelBufferRef buffer, const CGAffineTransform& transform = {}) {
    const CGRect bounds{0, 0, static_cast<double>(buffer->width()),
                        static_cast<double>(buffer->height())};
    return {std::move(buffer), bounds, transform};
}

/// Presents a frame and runs the event loop until the window system has it.
inline bool presentAndWait(VideoPresenter& presenter, const PresentedFrame& frame) {
    auto isShown = std::make_shared<bool>(false);
    presenter.present(frame, [isShown](HostTime) { *isShown = true; });
    return runUntil([&] { return *isShown; });
}

} // namespace zelvane::test

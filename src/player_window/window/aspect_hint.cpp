// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/window/aspect_hint.h"

#include <array>
#include <cmath>
#include <cstdint>

#include <QGuiApplication>
#include <QWidget>
#include <qguiapplication_platform.h>
#include <xcb/xcb_icccm.h>

namespace zelvane {

void setAspectHint(const QWidget& window, const CGSize& shape) {
    auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 == nullptr || !window.testAttribute(Qt::WA_WState_Created)) {
        return;
    }
    xcb_connection_t* connection = x11->connection();
    const auto handle = static_cast<xcb_window_t>(window.internalWinId());
    xcb_size_hints_t hints{};
    xcb_icccm_get_wm_normal_hints_reply(
        connection, xcb_icccm_get_wm_normal_hints(connection, handle), &hints, nullptr);
    const auto width = static_cast<std::int32_t>(std::lround(shape.width));
    const auto height = static_cast<std::int32_t>(std::lround(shape.height));
    if (width > 0 && height > 0) {
        xcb_icccm_size_hints_set_aspect(&hints, width, height, width, height);
        // Without a base size openbox takes one of -1 × -1 away before it compares the shape, so
        // that it makes each window a pixel smaller.
        xcb_icccm_size_hints_set_base_size(&hints, 0, 0);
    }
    // At a fractional scale the toolkit asks for steps of 2 pixels, which contradict most shapes.
    hints.flags &= ~static_cast<std::uint32_t>(XCB_ICCCM_SIZE_HINT_P_RESIZE_INC);
    xcb_icccm_set_wm_normal_hints(connection, handle, &hints);
}

void requestSizeAgain(const QWidget& window) {
    auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 == nullptr || !window.testAttribute(Qt::WA_WState_Created)) {
        return;
    }
    const auto pixels = [ratio = window.devicePixelRatio()](int points) {
        return static_cast<std::uint32_t>(std::lround(points * ratio));
    };
    const std::array<std::uint32_t, 2> size{pixels(window.width()), pixels(window.height())};
    xcb_configure_window(x11->connection(), static_cast<xcb_window_t>(window.internalWinId()),
                         XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size.data());
}

} // namespace zelvane

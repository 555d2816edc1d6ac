// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>

#include "player_window/controls/backdrop.h"

class QWidget;

namespace zelvane {

class VideoPresenter;

/// A surface for one video, and its presenter. The presenter may outlive the widget, and does
/// nothing then.
struct VideoWidget {
    /// Owned by its parent.
    QWidget* widget = nullptr;
    std::shared_ptr<VideoPresenter> presenter;
    /// Empty where the picture is on the GPU alone. Must not be called after the widget's end.
    PaintPicture paintPicture = {};
};

/// Configures Qt for OpenGL if there is a GPU. Call it before the application object is made.
void prepareApplication();
/// Makes all windows share their OpenGL objects, so that pictures on the GPU survive a move to
/// another window. Call it before the application object is made.
void shareGraphicsContexts();

/// The best surface of this machine: on the GPU if there is one, else on the CPU. For tests,
/// ZELVANE_ALLOW_SOFTWARE_GL in the environment permits a software implementation of OpenGL. Main
/// thread. Best before `parent`'s window is first shown: Qt recreates a window that gets its first
/// OpenGL surface later.
///
/// `onFailure` is called at most once, from the event loop: the GPU draws no more, and the surface
/// stays as it is.
VideoWidget makeVideoWidget(QWidget* parent, std::function<void()> onFailure);
/// A surface on the CPU, which does not fail.
VideoWidget makeRasterVideoWidget(QWidget* parent);

} // namespace zelvane

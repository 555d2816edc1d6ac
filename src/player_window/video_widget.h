// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

class QWidget;

namespace zelvane {

class VideoPresenter;

/// A surface for one video, and what draws on it. The presenter may outlive the widget; it is
/// silent from then on.
struct VideoWidget {
    /// Owned by its parent.
    QWidget* widget = nullptr;
    std::shared_ptr<VideoPresenter> presenter;
};

/// Sets what must stand before the application object is made. Where no device draws that is
/// nothing: the contexts would be a software renderer's.
void prepareApplication();
/// Lets all windows share their OpenGL objects, so that pictures on the graphics processor survive
/// a move to another window. Before the application object is made.
void shareGraphicsContexts();

/// The best surface of this machine: the graphics processor where there is a real one, else the
/// processor. Setting ZELVANE_ALLOW_SOFTWARE_GL in the environment lets a software implementation
/// of OpenGL pass for real: for tests. Main thread; best before `parent`'s window is first shown,
/// for a window that gains its first OpenGL surface later is made anew.
VideoWidget makeVideoWidget(QWidget* parent);

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "foundation/geometry.h"

class QWidget;

namespace zelvane {

/// Asks the window manager to keep the shape of a window while it is resized (WM_NORMAL_HINTS of
/// ICCCM 4.1.2.3). Does nothing where there is no X server. The toolkit writes the same property
/// when a size limit changes: call this after each such change, and after the window is first
/// shown. Main thread.
void setAspectHint(const QWidget& window, const CGSize& shape);

/// Asks an X window manager for the size of a window once more. It applies the steps of the
/// toolkit's hints when it first shows the window, before the hints can be corrected.
void requestSizeAgain(const QWidget& window);

} // namespace zelvane

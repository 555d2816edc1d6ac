// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

/// Gives tooltips the colours of the controls, and all menus and tooltips an edge and separators
/// that are visible on a dark ground. The rest of the desktop's style stays. Main thread, after the
/// application object.
void applyPopupStyle();

} // namespace zelvane

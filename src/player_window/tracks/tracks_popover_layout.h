// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "foundation/geometry.h"

namespace zelvane {

/// The place of the tracks popover in its window, in points with y downward. It is centred over
/// `button`, between the edges of `panel`, which holds the button. It is above the panel while
/// enough of `wantedHeight` fits there, over the panel otherwise, and over the title bar in the
/// smallest windows.
CGRect tracksPopoverRect(const CGRect& button, const CGRect& panel, const CGSize& window,
                         double wantedHeight);

} // namespace zelvane

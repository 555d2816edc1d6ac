// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <Qt>

#include "foundation/geometry.h"

namespace zelvane {

/// How near to its edge a window without a frame is resized, in points.
inline constexpr double kResizeMargin = 7;
/// How near to the end of an edge both edges of the corner are meant.
inline constexpr double kCornerLength = 16;

/// The edges that a press at this point of the window resizes; none inside.
Qt::Edges windowEdgesAt(double x, double y, const CGSize& window);

/// The pointer over these edges.
Qt::CursorShape cursorForEdges(Qt::Edges edges);

} // namespace zelvane

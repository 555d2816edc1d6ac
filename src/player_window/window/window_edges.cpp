// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/window/window_edges.h"

namespace zelvane {

Qt::Edges windowEdgesAt(double x, double y, const CGSize& window) {
    const auto edgesWithin = [&](double margin) {
        Qt::Edges edges;
        edges.setFlag(Qt::LeftEdge, x < margin);
        edges.setFlag(Qt::RightEdge, x >= window.width - margin);
        edges.setFlag(Qt::TopEdge, y < margin);
        edges.setFlag(Qt::BottomEdge, y >= window.height - margin);
        return edges;
    };
    return edgesWithin(kResizeMargin) ? edgesWithin(kCornerLength) : Qt::Edges();
}

Qt::CursorShape cursorForEdges(Qt::Edges edges) {
    if (edges == (Qt::LeftEdge | Qt::TopEdge) || edges == (Qt::RightEdge | Qt::BottomEdge)) {
        return Qt::SizeFDiagCursor;
    }
    if (edges == (Qt::RightEdge | Qt::TopEdge) || edges == (Qt::LeftEdge | Qt::BottomEdge)) {
        return Qt::SizeBDiagCursor;
    }
    if (edges & (Qt::LeftEdge | Qt::RightEdge)) {
        return Qt::SizeHorCursor;
    }
    return edges ? Qt::SizeVerCursor : Qt::ArrowCursor;
}

} // namespace zelvane

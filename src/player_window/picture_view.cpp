// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/picture_view.h"

namespace zelvane {

PictureView::PictureView(QWidget* parent) : QWidget(parent), video_(makeVideoWidget(this)) {
    video_.widget->setGeometry(rect());
}

void PictureView::addOverlay(QWidget* overlay) {
    overlay->setParent(this);
    overlay->setGeometry(rect());
    overlay->raise();
    overlay->show();
}

void PictureView::resizeEvent(QResizeEvent* /*event*/) {
    for (auto* child : findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        child->setGeometry(rect());
    }
}

} // namespace zelvane

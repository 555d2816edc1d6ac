// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QScrollBar>

namespace zelvane {

/// A narrow vertical scroll bar for dark panels: only its handle is visible. Main thread.
class SlimScrollBar final : public QScrollBar {
  public:
    static constexpr int kWidth = 8;

    explicit SlimScrollBar(QWidget* parent) : QScrollBar(Qt::Vertical, parent) {}

    QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QTimer>
#include <QWidget>

#include "player_window/controls/accessible_widget.h"

namespace zelvane {

/// A short text over the picture about the effect of a key, which disappears after a moment. A
/// screen reader speaks it. Transparent for the mouse. Main thread.
class NoticeWidget final : public QWidget, public AccessibleWidget {
  public:
    explicit NoticeWidget(QWidget* parent);

    /// Replaces an earlier text. It is at the top left of the parent, below the title bar, and is
    /// elided at its end where the parent is too narrow.
    void showText(const QString& text);
    const QString& text() const { return text_; }
    /// The parent calls it when its size has changed.
    void fitToParent();
    QAccessibleInterface* makeAccessible() override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QString text_;
    QTimer timer_;
};

} // namespace zelvane

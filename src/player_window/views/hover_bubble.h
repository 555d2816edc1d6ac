// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QWidget>

namespace zelvane {

/// The time under the pointer, above the scrubber. Lets the pointer through. Main thread.
class HoverBubble final : public QWidget {
  public:
    explicit HoverBubble(QWidget* parent);

    /// Above `anchor`, a point of the parent, but inside the parent.
    void showText(const QString& text, const QPoint& anchor);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QString text_;
};

} // namespace zelvane

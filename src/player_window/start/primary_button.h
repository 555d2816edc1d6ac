// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAbstractButton>

namespace zelvane {

/// The main button of a window: its text on the accent colour. Main thread.
class PrimaryButton final : public QAbstractButton {
  public:
    PrimaryButton(const QString& text, QWidget* parent);

    QSize sizeHint() const override;

  protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    bool showsFocus_ = false;
};

} // namespace zelvane

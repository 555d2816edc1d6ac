// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAbstractButton>

namespace zelvane {

/// A row of the tracks popover: a title with or without a check mark. It takes the focus from the
/// pointer, so that one row at most is highlighted. A click does not change the check mark. Main
/// thread.
class TracksPopoverRow final : public QAbstractButton {
    Q_OBJECT

  public:
    enum class Kind { track, action };

    TracksPopoverRow(Kind kind, QString title, QWidget* parent);

  protected:
    void nextCheckState() override {}
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;

  private:
    QRect titleRect() const;

    const QString title_;
    bool hasFocusByKeyboard_ = false;
};

} // namespace zelvane

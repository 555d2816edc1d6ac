// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QIcon>
#include <QString>
#include <QWidget>

namespace zelvane {

class ProgressView;

/// A panel in the middle of a view, over a veil: an icon, what is in progress, and a button that
/// cancels it; Esc cancels too. A child of the view, so that it is in the view's accessibility
/// tree. It is shown after a moment only, so that short operations show nothing. Main thread.
class ProgressSheet final : public QWidget {
    Q_OBJECT

  public:
    ProgressSheet(const QIcon& icon, const QString& text, QWidget* view);
    ~ProgressSheet() override;

  signals:
    void cancelled();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    void layOut();

    QWidget* panel_;
    ProgressView* progress_;
};

} // namespace zelvane

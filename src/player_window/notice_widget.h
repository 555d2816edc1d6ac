// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QTimer>
#include <QWidget>

namespace zelvane {

/// A short word over the picture about what a key has just done, gone by itself after a moment.
/// Lets the mouse through. Main thread.
class NoticeWidget final : public QWidget {
  public:
    explicit NoticeWidget(QWidget* parent);

    /// Takes the place of an earlier word. It lies at the left of the parent, below subtitles at
    /// the top, and is cut at its end where the parent is too narrow.
    void showText(const QString& text);
    const QString& text() const { return text_; }
    /// For the parent, when its size has changed.
    void fitToParent();

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QString text_;
    QTimer timer_;
};

} // namespace zelvane

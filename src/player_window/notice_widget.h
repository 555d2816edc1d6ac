// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QTimer>
#include <QWidget>

#include "player_window/controls/accessible_widget.h"

namespace zelvane {

/// A short text about the effect of a key, which disappears after a moment. A screen reader speaks
/// it. Transparent for the mouse. Main thread.
class NoticeWidget final : public QWidget, public AccessibleWidget {
  public:
    enum class Place {
        /// At the top left of the room.
        overPicture,
        /// In the middle of the room, and hides what is there: a window for sound alone has no room
        /// but that of its title.
        inTitleBar,
    };

    NoticeWidget(Place place, QWidget* parent);

    /// Where the notice appears, in points of the parent. A text that is too long is elided at its
    /// end.
    void setRoom(const QRect& room);
    /// Replaces an earlier text.
    void showText(const QString& text);
    const QString& text() const { return text_; }
    QAccessibleInterface* makeAccessible() override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QSize sizeOfPill() const;
    void layOut();

    const Place place_;
    QRect room_;
    QString text_;
    QTimer timer_;
};

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include <QString>
#include <QWidget>

#include "player_window/controls/accessible_widget.h"

class QFontMetricsF;

namespace zelvane {

/// A time in digits of equal width, which may act like a button. Main thread.
class TimeLabel final : public QWidget, public AccessibleWidget {
    Q_OBJECT

  public:
    TimeLabel(Qt::Alignment alignment, QWidget* parent);

    void setText(const QString& text);
    const QString& text() const { return text_; }
    /// Of a text, with every digit as wide as the widest.
    double widthOf(const QString& text) const;
    /// A label that acts has a hand as its pointer and takes the focus. Set once, before the label
    /// is shown.
    void setClickable(bool clickable);
    QAccessibleInterface* makeAccessible() override;

  signals:
    void clicked();

  protected:
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

  private:
    struct Glyph {
        QChar character;
        /// From the left of the text.
        double x;
    };

    void layOut();
    double roomOf(const QFontMetricsF& metrics, QChar character) const;

    QString text_;
    /// Measuring text for each frame of a film costs more than painting it.
    std::vector<Glyph> glyphs_;
    double textWidth_ = 0;
    double widestDigit_ = 0;
    Qt::Alignment alignment_;
    bool isClickable_ = false;
    bool showsFocus_ = false;
};

} // namespace zelvane

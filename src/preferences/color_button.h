// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QPushButton>

namespace zelvane {

/// Shows a colour, and opens a dialog to choose another one. The colour changes while the user
/// tries colours in the dialog, and returns when the dialog is cancelled. Main thread.
class ColorButton final : public QPushButton {
    Q_OBJECT

  public:
    /// `name` says what has the colour, for the dialog and assistive technology.
    explicit ColorButton(QString name);

    const QColor& color() const { return color_; }
    /// Does not emit colorDidChange.
    void setColor(const QColor& color);

  signals:
    /// The user has chosen it.
    void colorDidChange(const QColor& color);

  private:
    void choose();
    void change(const QColor& color);

    const QString name_;
    QColor color_;
};

} // namespace zelvane

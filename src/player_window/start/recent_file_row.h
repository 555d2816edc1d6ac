// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAbstractButton>

#include "foundation/url.h"

namespace zelvane {

class ControlButton;

/// A file that was opened before: its name and its folder, and a button that removes it from the
/// list, which is shown while the row is used. Main thread.
class RecentFileRow final : public QAbstractButton {
    Q_OBJECT

  public:
    static constexpr int kHeight = 28;
    /// From the edge of the row to its texts.
    static constexpr int kPadding = 8;

    RecentFileRow(const URL& url, QWidget* parent);

  signals:
    void removeRequested();

  protected:
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    void updateRemoveButton();

    const QString name_;
    const QString folder_;
    ControlButton* removeButton_;
    bool showsFocus_ = false;
};

/// A folder as people name it: the home folder is "~".
QString folderText(const QString& path, const QString& home);

} // namespace zelvane

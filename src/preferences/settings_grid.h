// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <initializer_list>

#include <QString>
#include <Qt>

class QCheckBox;
class QGridLayout;
class QLabel;
class QWidget;

namespace zelvane {

/// The form of a pane: labels aligned to the right in one column, controls in the next, and
/// descriptions in a smaller font under the controls. The pane owns all of it. Main thread.
class SettingsGrid {
  public:
    /// Makes the layout of `pane`.
    explicit SettingsGrid(QWidget& pane);

    /// A label and its controls side by side. The label is the buddy of the first one; it is in the
    /// middle of the row, or at its top beside a high control.
    void addRow(const QString& label, std::initializer_list<QWidget*> controls,
                Qt::Alignment labelAlignment = Qt::AlignVCenter);
    /// A check box, whose row has a label if that is not empty.
    QCheckBox* addCheckBox(const QString& label, const QString& title);
    /// Under the title of the check box of the row above, or under another control.
    QLabel* addDescription(const QString& text, const QCheckBox* above = nullptr);
    /// Over both columns.
    void addWide(QWidget* widget);
    /// A larger distance between groups of rows.
    void addGap();

  private:
    int nextRow() const;

    QGridLayout* layout_;
};

} // namespace zelvane

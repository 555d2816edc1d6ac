// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QToolButton>

#include "preferences_window/preference_pane.h"

namespace zelvane {

/// A pane's symbol above its title, which is marked while it is selected. Main thread.
class ToolbarItem final : public QToolButton {
    Q_OBJECT

  public:
    /// `image` must outlive the item.
    ToolbarItem(const ToolbarItemImageProvider& image, QWidget* parent);

    QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    const ToolbarItemImageProvider& image_;
};

} // namespace zelvane

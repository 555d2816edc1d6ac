// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QWidget>

#include "player_window/controls/control_symbol.h"

class QLabel;

namespace zelvane {

/// Says in the window of a player that its picture is in another place: a symbol above one or two
/// lines of text, on black. Lets the pointer through. Main thread.
class ExternalPlaybackIndicatorView final : public QWidget {
  public:
    /// An empty `subtitle` is not shown.
    ExternalPlaybackIndicatorView(ControlSymbol symbol, const QString& symbolDescription,
                                  const QString& title, const QString& subtitle, QWidget* parent);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    QLabel* makeLabel(const QString& text, int fontSize);
    void updateSymbol();

    const ControlSymbol symbol_;
    // Owned by this view.
    QLabel* imageLabel_;
    QLabel* titleLabel_;
    /// Null without a subtitle.
    QLabel* subtitleLabel_ = nullptr;
};

} // namespace zelvane

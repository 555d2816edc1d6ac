// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <vector>

#include <QString>
#include <QWidget>

#include "foundation/geometry.h"

namespace zelvane {

/// A slider over a few values, with a tick for each and a label above some of them. Assistive
/// technology reads the value and its description. Main thread.
class DiscreteSlider final : public QWidget {
    Q_OBJECT

  public:
    struct Item {
        double value = 0;
        /// The label above the tick; empty for none.
        QString title = {};
        QString accessibilityLabel = {};
    };

    /// What the slider is painted on.
    enum class Ground { panel, window };

    /// At least one item, in ascending order of values. The slider is painted for a dark panel.
    DiscreteSlider(std::vector<Item> items, QWidget* parent);

    /// On a window it has the colours of its palette and the font of its parent.
    void setGround(Ground ground);

    const std::vector<Item>& items() const { return items_; }
    std::size_t selectedIndex() const { return selectedIndex_; }
    /// Does not emit valueDidChange.
    void setSelectedIndex(std::size_t index);
    /// The index of the nearest value; of two equally near ones the lower.
    std::size_t nearestIndexOf(double value) const;
    /// Selects by user action, clamped to the items. A disabled slider ignores it.
    void select(std::ptrdiff_t index);

    QSize sizeHint() const override;
    /// Room for the labels side by side.
    QSize minimumSizeHint() const override;

  signals:
    /// The user has chosen another item.
    void valueDidChange(double value);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

  private:
    struct Colors {
        QColor label;
        QColor bar;
        QColor tick;
        QColor knob;
        QColor ring;
    };
    Colors colors() const;
    double labelsHeight() const;
    std::vector<double> ticks() const;
    CGRect onPixels(const CGRect& rect) const;
    void selectAt(double x);
    void paintLabels(QPainter& painter) const;
    void paintBar(QPainter& painter) const;
    void paintKnob(QPainter& painter) const;

    const std::vector<Item> items_;
    std::size_t selectedIndex_ = 0;
    bool showsFocus_ = false;
    Ground ground_ = Ground::panel;
};

/// The slider of the playback rates, at normal speed. Owned by `parent`.
DiscreteSlider* makePlaybackRateSlider(QWidget* parent);

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <optional>

#include <QWidget>

#include "player_window/controls/accessible_widget.h"
#include "player_window/controls/scrubber_model.h"

namespace zelvane {

/// The bar by which a person moves through a file: a thin bar with a narrow knob, for dragging,
/// clicking, scrolling and keys. It knows a value in a range and no media. Main thread.
class Scrubber final : public QWidget, public AccessibleWidget {
    Q_OBJECT

  public:
    /// A text for the value, spoken by assistive technology.
    using ValueFormatter = std::function<QString(double value)>;

    explicit Scrubber(QWidget* parent);

    void setRange(double minValue, double maxValue);
    double minValue() const { return model_.minValue; }
    double maxValue() const { return model_.maxValue; }
    double value() const { return model_.value(); }
    /// Whether the user drags the knob or scrolls.
    bool isTracking() const { return model_.isTracking(); }
    /// Moves the knob; valueDidChange is not emitted.
    void setValue(double value);
    /// The value of one point of horizontal scrolling, where a point of the bar is more.
    void setScrollingValueAmount(double amount) { model_.scrollingValueAmount = amount; }
    void setAccessibilityValueFormatter(ValueFormatter formatter);
    /// By a share of the range, as a person would.
    void step(double share);
    /// Scrolling over the controls around it is scrolling here.
    void scroll(QWheelEvent* event);
    /// The text for assistive technology.
    QString valueDescription() const;

    QAccessibleInterface* makeAccessible() override;
    QSize sizeHint() const override;

  signals:
    /// A person has changed the value.
    void valueDidChange(double value);
    void didBeginTracking();
    void didEndTracking();
    /// The value under the pointer at `x`, in points of this widget, or none.
    void hoverDidChange(std::optional<double> value, double x);

  protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void hideEvent(QHideEvent* event) override;

  private:
    ScrubberLayout presentLayout() const;
    void announce(const ScrubberOutcome& outcome);
    void announceValue();
    void endTracking();

    ScrubberModel model_;
    ValueFormatter formatter_;
    QString announcedDescription_;
    bool showsFocus_ = false;
};

} // namespace zelvane

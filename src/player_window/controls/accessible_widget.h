// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include <QAccessibleWidget>

namespace zelvane {

/// A widget that describes itself to assistive technology. Main thread.
class AccessibleWidget {
  public:
    AccessibleWidget(const AccessibleWidget&) = delete;
    AccessibleWidget& operator=(const AccessibleWidget&) = delete;
    virtual ~AccessibleWidget() = default;

    /// A new description, which the toolkit owns and destroys before the widget.
    virtual QAccessibleInterface* makeAccessible() = 0;

  protected:
    AccessibleWidget();
};

/// How assistive technology reads and changes a slider.
struct SliderAccess {
    std::function<double()> value;
    std::function<double()> minimum;
    std::function<double()> maximum;
    /// As the user changes it.
    std::function<void(double value)> change;
    /// The value in words.
    std::function<QString()> description;
};

/// A slider that moves by 5 % of its range at a time. The value in words is its description: the
/// text of a value does not reach assistive technology.
class AccessibleSlider final : public QAccessibleWidget, public QAccessibleValueInterface {
  public:
    AccessibleSlider(QWidget* widget, SliderAccess access);

    void* interface_cast(QAccessible::InterfaceType type) override;
    QString text(QAccessible::Text text) const override;
    QStringList actionNames() const override;
    void doAction(const QString& name) override;

    QVariant currentValue() const override { return access_.value(); }
    void setCurrentValue(const QVariant& value) override;
    QVariant minimumValue() const override { return access_.minimum(); }
    QVariant maximumValue() const override { return access_.maximum(); }
    QVariant minimumStepSize() const override { return 0.0; }

  private:
    SliderAccess access_;
};

/// Reports a new value of a slider, and its words.
void announceSliderValue(QWidget& slider, double value);

/// Has a screen reader speak a text. `source` is what the text is about. Does nothing without
/// assistive technology.
void announceText(QWidget& source, const QString& text);

} // namespace zelvane

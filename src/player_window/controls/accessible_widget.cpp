// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/accessible_widget.h"

#include <algorithm>
#include <utility>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QWidget>

namespace zelvane {
namespace {

constexpr double kStepOfRange = 0.05;

QAccessibleInterface* makeInterface(const QString& /*className*/, QObject* object) {
    auto* widget = dynamic_cast<AccessibleWidget*>(object);
    return widget == nullptr ? nullptr : widget->makeAccessible();
}

} // namespace

AccessibleWidget::AccessibleWidget() {
    [[maybe_unused]] static const bool isInstalled = [] {
        QAccessible::installFactory(makeInterface);
        return true;
    }();
}

AccessibleSlider::AccessibleSlider(QWidget* widget, SliderAccess access)
    : QAccessibleWidget(widget, QAccessible::Slider), access_(std::move(access)) {}

void* AccessibleSlider::interface_cast(QAccessible::InterfaceType type) {
    return type == QAccessible::ValueInterface ? static_cast<QAccessibleValueInterface*>(this)
                                               : QAccessibleWidget::interface_cast(type);
}

QString AccessibleSlider::text(QAccessible::Text text) const {
    const bool isWords = text == QAccessible::Description || text == QAccessible::Value;
    return isWords ? access_.description() : QAccessibleWidget::text(text);
}

QStringList AccessibleSlider::actionNames() const {
    return QStringList{increaseAction(), decreaseAction()} + QAccessibleWidget::actionNames();
}

void AccessibleSlider::doAction(const QString& name) {
    const double step = (access_.maximum() - access_.minimum()) * kStepOfRange;
    if (name == increaseAction()) {
        setCurrentValue(access_.value() + step);
    } else if (name == decreaseAction()) {
        setCurrentValue(access_.value() - step);
    } else {
        QAccessibleWidget::doAction(name);
    }
}

void AccessibleSlider::setCurrentValue(const QVariant& value) {
    bool isNumber = false;
    const double wanted = value.toDouble(&isNumber);
    if (isNumber && access_.minimum() < access_.maximum()) {
        access_.change(std::clamp(wanted, access_.minimum(), access_.maximum()));
    }
}

void announceSliderValue(QWidget& slider, double value) {
    QAccessibleValueChangeEvent changed(&slider, value);
    QAccessible::updateAccessibility(&changed);
    QAccessibleEvent described(&slider, QAccessible::DescriptionChanged);
    QAccessible::updateAccessibility(&described);
}

void announceText(QWidget& source, const QString& text) {
    // Qt has an event for it from 6.8 on. Before, the signal of AT-SPI is sent over the connection
    // of Qt's own bridge, which has this name.
    const QDBusConnection bus(QStringLiteral("a11y"));
    auto* interface = QAccessible::queryAccessibleInterface(&source);
    if (!QAccessible::isActive() || !bus.isConnected() || interface == nullptr) {
        return;
    }
    constexpr int kPolite = 1;
    QDBusMessage signal = QDBusMessage::createSignal(
        QStringLiteral("/org/a11y/atspi/accessible/%1").arg(QAccessible::uniqueId(interface)),
        QStringLiteral("org.a11y.atspi.Event.Object"), QStringLiteral("Announcement"));
    signal << QString() << kPolite << 0 << QVariant::fromValue(QDBusVariant(text)) << QVariantMap();
    bus.send(signal);
}

} // namespace zelvane

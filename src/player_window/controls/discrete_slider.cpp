// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/discrete_slider.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <QAccessible>
#include <QAccessibleWidget>
#include <QEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include "player_window/controls/control_colors.h"
#include "player_window/controls/discrete_slider_layout.h"
#include "player_window/controls/pixel_grid.h"
#include "player_window/controls/playback_rates.h"

namespace zelvane {
namespace {

constexpr int kFontSize = 13;
/// The height of ticks, bar and knob, without labels.
constexpr double kSliderHeight = 25;
constexpr double kTickTop = 2;
constexpr double kTickHeight = 5;
constexpr double kTickWidth = 1;
constexpr double kBarHeight = 3;
constexpr double kBarCenter = 16;
constexpr double kKnobRadius = 6;
constexpr double kRingWidth = 2;
constexpr double kTickOpacity = 0.45;
constexpr double kWindowBarOpacity = 0.22;
constexpr QColor kDisabledKnob(0x8a, 0x8a, 0x8c);

QRectF qtRect(const CGRect& rect) {
    return {rect.x, rect.y, rect.width, rect.height};
}

/// Reports the value of the selected item. Screen readers show the description, but not the text of
/// a value.
class AccessibleDiscreteSlider final : public QAccessibleWidget, public QAccessibleValueInterface {
  public:
    explicit AccessibleDiscreteSlider(DiscreteSlider* slider)
        : QAccessibleWidget(slider, QAccessible::Slider), slider_(*slider) {}

    void* interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::ValueInterface ? static_cast<QAccessibleValueInterface*>(this)
                                                   : QAccessibleWidget::interface_cast(type);
    }
    QString text(QAccessible::Text type) const override {
        return type == QAccessible::Description || type == QAccessible::Value
                   ? slider_.items()[slider_.selectedIndex()].accessibilityLabel
                   : QAccessibleWidget::text(type);
    }
    QVariant currentValue() const override {
        return slider_.items()[slider_.selectedIndex()].value;
    }
    /// A step by less than the distance of two items moves by one item.
    void setCurrentValue(const QVariant& wanted) override {
        const double value = wanted.toDouble();
        const double current = currentValue().toDouble();
        const auto index = static_cast<std::ptrdiff_t>(slider_.selectedIndex());
        const auto nearest = static_cast<std::ptrdiff_t>(slider_.nearestIndexOf(value));
        const bool moves = nearest != index || value == current;
        slider_.select(moves ? nearest : index + (value < current ? -1 : 1));
    }
    QVariant minimumValue() const override { return slider_.items().front().value; }
    QVariant maximumValue() const override { return slider_.items().back().value; }
    QVariant minimumStepSize() const override {
        const auto steps =
            static_cast<double>(std::max<std::size_t>(slider_.items().size(), 2) - 1);
        return (maximumValue().toDouble() - minimumValue().toDouble()) / steps;
    }

  private:
    DiscreteSlider& slider_;
};

QAccessibleInterface* makeAccessibleSlider(const QString& /*className*/, QObject* object) {
    auto* slider = qobject_cast<DiscreteSlider*>(object);
    // Owned by Qt's cache. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    return slider == nullptr ? nullptr : new AccessibleDiscreteSlider(slider);
}

DiscreteSliderLabels labelsOf(const std::vector<DiscreteSlider::Item>& items,
                              const QFontMetricsF& metrics) {
    DiscreteSliderLabels labels;
    for (const auto& item : items) {
        labels.sizes.push_back(
            item.title.isEmpty()
                ? std::nullopt
                : std::optional(CGSize{std::ceil(metrics.horizontalAdvance(item.title)),
                                       std::ceil(metrics.height())}));
    }
    return labels;
}

} // namespace

DiscreteSlider::DiscreteSlider(std::vector<Item> items, QWidget* parent)
    : QWidget(parent), items_(std::move(items)) {
    Q_ASSERT(!items_.empty());
    [[maybe_unused]] static const bool isInstalled =
        (QAccessible::installFactory(makeAccessibleSlider), true);
    setFocusPolicy(Qt::TabFocus);
    QFont font = this->font();
    font.setPixelSize(kFontSize);
    setFont(font);
}

void DiscreteSlider::setGround(Ground ground) {
    ground_ = ground;
    setFont({});
    updateGeometry();
    update();
}

DiscreteSlider::Colors DiscreteSlider::colors() const {
    if (ground_ == Ground::panel) {
        return {isEnabled() ? control_colors::symbol() : control_colors::disabledSymbol(),
                control_colors::track(),
                control_colors::white(isEnabled() ? kTickOpacity : kTickOpacity / 2),
                isEnabled() ? QColor(Qt::white) : kDisabledKnob, accentColor(palette())};
    }
    const QColor text = palette().color(QPalette::WindowText);
    const auto fainter = [&text](double opacity) {
        QColor color = text;
        color.setAlphaF(static_cast<float>(opacity));
        return color;
    };
    return {text, fainter(kWindowBarOpacity), fainter(kTickOpacity),
            palette().color(isEnabled() ? QPalette::Highlight : QPalette::Mid), text};
}

void DiscreteSlider::setSelectedIndex(std::size_t index) {
    const std::size_t clamped = std::min(index, items_.size() - 1);
    if (clamped == std::exchange(selectedIndex_, clamped)) {
        return;
    }
    update();
    QAccessibleValueChangeEvent changed(this, items_[selectedIndex_].value);
    QAccessible::updateAccessibility(&changed);
}

std::size_t DiscreteSlider::nearestIndexOf(double value) const {
    std::vector<double> values;
    std::ranges::transform(items_, std::back_inserter(values), &Item::value);
    return nearestIndex(values, value);
}

void DiscreteSlider::select(std::ptrdiff_t index) {
    const auto clamped = static_cast<std::size_t>(
        std::clamp<std::ptrdiff_t>(index, 0, static_cast<std::ptrdiff_t>(items_.size()) - 1));
    if (isEnabled() && clamped != selectedIndex_) {
        setSelectedIndex(clamped);
        emit valueDidChange(items_[clamped].value);
    }
}

QSize DiscreteSlider::sizeHint() const {
    const CGSize size = discreteSliderSize(labelsOf(items_, QFontMetricsF(font())), kSliderHeight);
    return {static_cast<int>(std::ceil(size.width)), static_cast<int>(std::ceil(size.height))};
}

QSize DiscreteSlider::minimumSizeHint() const {
    double width = 0;
    for (const auto& size : labelsOf(items_, QFontMetricsF(font())).sizes) {
        width += size ? size->width + DiscreteSliderLabels::kMinimumSpacing : 0;
    }
    return {static_cast<int>(std::ceil(width)), sizeHint().height()};
}

double DiscreteSlider::labelsHeight() const {
    return labelsOf(items_, QFontMetricsF(font())).tallest();
}

std::vector<double> DiscreteSlider::ticks() const {
    return discreteSliderTicks(items_.size(), width(), kKnobRadius);
}

CGRect DiscreteSlider::onPixels(const CGRect& rect) const {
    const QPointF origin = mapTo(window(), QPointF(0, 0));
    return PixelGrid{devicePixelRatio(), origin.x(), origin.y()}.nearest(rect);
}

void DiscreteSlider::selectAt(double x) {
    select(static_cast<std::ptrdiff_t>(nearestIndex(ticks(), x)));
}

void DiscreteSlider::changeEvent(QEvent* event) {
    if (event->type() == QEvent::EnabledChange) {
        update();
    }
    QWidget::changeEvent(event);
}

void DiscreteSlider::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        selectAt(event->position().x());
    } else {
        event->ignore();
    }
}

void DiscreteSlider::mouseMoveEvent(QMouseEvent* event) {
    if (event->buttons().testFlag(Qt::LeftButton)) {
        selectAt(event->position().x());
    }
}

void DiscreteSlider::keyPressEvent(QKeyEvent* event) {
    const auto index = static_cast<std::ptrdiff_t>(selectedIndex_);
    switch (event->key()) {
    case Qt::Key_Left:
    case Qt::Key_Down:
        select(index - 1);
        break;
    case Qt::Key_Right:
    case Qt::Key_Up:
        select(index + 1);
        break;
    case Qt::Key_Home:
        select(0);
        break;
    case Qt::Key_End:
        select(static_cast<std::ptrdiff_t>(items_.size()) - 1);
        break;
    default:
        event->ignore();
    }
}

void DiscreteSlider::focusInEvent(QFocusEvent* event) {
    showsFocus_ =
        event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    update();
}

void DiscreteSlider::focusOutEvent(QFocusEvent* /*event*/) {
    showsFocus_ = false;
    update();
}

void DiscreteSlider::paintLabels(QPainter& painter) const {
    const auto rects = layOutDiscreteSliderLabels(labelsOf(items_, QFontMetricsF(font())), ticks(),
                                                  width(), kSliderHeight, TickMarkPosition::above);
    painter.setPen(colors().label);
    for (std::size_t index = 0; index < items_.size(); ++index) {
        if (rects[index]) {
            painter.drawText(qtRect(*rects[index]), Qt::AlignCenter, items_[index].title);
        }
    }
}

void DiscreteSlider::paintBar(QPainter& painter) const {
    const double top = labelsHeight();
    painter.setBrush(colors().bar);
    const QRectF bar = qtRect(
        onPixels({0, top + kBarCenter - kBarHeight / 2, static_cast<double>(width()), kBarHeight}));
    painter.drawRoundedRect(bar, bar.height() / 2, bar.height() / 2);
    for (const double x : ticks()) {
        painter.fillRect(
            qtRect(onPixels({x - kTickWidth / 2, top + kTickTop, kTickWidth, kTickHeight})),
            colors().tick);
    }
}

void DiscreteSlider::paintKnob(QPainter& painter) const {
    const CGRect knob =
        onPixels({ticks()[selectedIndex_] - kKnobRadius, labelsHeight() + kBarCenter - kKnobRadius,
                  2 * kKnobRadius, 2 * kKnobRadius});
    painter.setBrush(colors().knob);
    painter.drawEllipse(qtRect(knob));
    if (showsFocus_) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(colors().ring, kRingWidth));
        painter.drawEllipse(qtRect(knob).adjusted(1, 1, -1, -1));
    }
}

void DiscreteSlider::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    paintLabels(painter);
    painter.setPen(Qt::NoPen);
    paintBar(painter);
    paintKnob(painter);
}

DiscreteSlider* makePlaybackRateSlider(QWidget* parent) {
    std::vector<DiscreteSlider::Item> items;
    for (const PlaybackRate& item : kPlaybackRates) {
        const auto rate = static_cast<double>(item.rate);
        items.push_back({rate, item.title.empty() ? QString() : DiscreteSlider::tr("%1×").arg(rate),
                         DiscreteSlider::tr("%1 times normal rate").arg(rate)});
    }
    // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): Qt's parent
    auto* slider = new DiscreteSlider(std::move(items), parent);
    slider->setSelectedIndex(nearestPlaybackRate(1));
    slider->setAccessibleName(DiscreteSlider::tr("Playback rate"));
    return slider;
}

} // namespace zelvane

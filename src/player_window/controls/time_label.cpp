// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/time_label.h"

#include <algorithm>

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include "player_window/controls/control_colors.h"
#include "player_window/controls/focus_ring.h"
#include "player_window/controls/widget_geometry.h"

namespace zelvane {
namespace {

constexpr int kFontSize = 13;
constexpr double kGapOverLine = 4;

double digitWidth(const QFontMetricsF& metrics) {
    double width = 0;
    for (char digit = '0'; digit <= '9'; ++digit) {
        width = std::max(width, metrics.horizontalAdvance(QLatin1Char(digit)));
    }
    return width;
}

/// A label that is pressed like a button.
class AccessibleTimeButton final : public QAccessibleWidget {
  public:
    explicit AccessibleTimeButton(TimeLabel* label)
        : QAccessibleWidget(label, QAccessible::Button), label_(label) {}

    QStringList actionNames() const override {
        return QStringList{pressAction()} + QAccessibleWidget::actionNames();
    }
    void doAction(const QString& name) override {
        if (name == pressAction()) {
            emit label_->clicked();
        } else {
            QAccessibleWidget::doAction(name);
        }
    }

  private:
    TimeLabel* label_;
};

} // namespace

TimeLabel::TimeLabel(Qt::Alignment alignment, QWidget* parent)
    : QWidget(parent), alignment_(alignment) {
    QFont font = this->font();
    font.setPixelSize(kFontSize);
    setFont(font);
    widestDigit_ = digitWidth(QFontMetricsF(this->font()));
}

void TimeLabel::setText(const QString& text) {
    if (text == text_) {
        return;
    }
    text_ = text;
    layOut();
    setAccessibleName(text);
    update();
}

void TimeLabel::layOut() {
    const QFontMetricsF metrics(font());
    glyphs_.clear();
    textWidth_ = 0;
    // Digit by digit: not every font of a desktop has digits of equal width.
    for (const QChar character : text_) {
        const double room = roomOf(metrics, character);
        const double unused = room - metrics.horizontalAdvance(character);
        glyphs_.push_back({character, textWidth_ + unused / 2});
        textWidth_ += room;
    }
}

double TimeLabel::roomOf(const QFontMetricsF& metrics, QChar character) const {
    return character.isDigit() ? widestDigit_ : metrics.horizontalAdvance(character);
}

double TimeLabel::widthOf(const QString& text) const {
    const QFontMetricsF metrics(font());
    double width = 0;
    for (const QChar character : text) {
        width += roomOf(metrics, character);
    }
    return width;
}

void TimeLabel::setClickable(bool clickable) {
    isClickable_ = clickable;
    setCursor(clickable ? Qt::PointingHandCursor : Qt::ArrowCursor);
    setFocusPolicy(clickable ? Qt::TabFocus : Qt::NoFocus);
}

QAccessibleInterface* TimeLabel::makeAccessible() {
    // The toolkit owns them. NOLINTBEGIN(cppcoreguidelines-owning-memory)
    if (isClickable_) {
        return new AccessibleTimeButton(this);
    }
    return new QAccessibleWidget(this, QAccessible::StaticText);
    // NOLINTEND(cppcoreguidelines-owning-memory)
}

void TimeLabel::paintEvent(QPaintEvent* /*event*/) {
    const QFontMetricsF metrics(font());
    QPainter painter(this);
    painter.setPen(control_colors::symbol());
    const double left = alignment_.testFlag(Qt::AlignRight) ? width() - textWidth_ : 0;
    const double baseline = (height() + metrics.capHeight()) / 2;
    for (const Glyph& glyph : glyphs_) {
        painter.drawText(QPointF(left + glyph.x, baseline), glyph.character);
    }
    if (showsFocus_) {
        // A ring would cover the digits, which fill the label.
        const CGRect line{0, baseline + kGapOverLine, static_cast<double>(width()),
                          kFocusRingWidth};
        painter.fillRect(qtRect(pixelGridOf(*this).nearest(line)), accentColor(palette()));
    }
}

void TimeLabel::changeEvent(QEvent* event) {
    if (event->type() == QEvent::FontChange) {
        widestDigit_ = digitWidth(QFontMetricsF(font()));
        layOut();
    }
    QWidget::changeEvent(event);
}

void TimeLabel::mousePressEvent(QMouseEvent* event) {
    event->setAccepted(isClickable_ && event->button() == Qt::LeftButton);
}

void TimeLabel::mouseReleaseEvent(QMouseEvent* event) {
    if (isClickable_ && event->button() == Qt::LeftButton && rect().contains(event->pos())) {
        emit clicked();
    }
}

void TimeLabel::keyPressEvent(QKeyEvent* event) {
    const bool presses = isClickable_ && isPressKey(*event);
    event->setAccepted(presses);
    if (presses && !event->isAutoRepeat()) {
        emit clicked();
    }
}

void TimeLabel::focusInEvent(QFocusEvent* event) {
    showsFocus_ = isFocusByKeyboard(*event);
    update();
}

void TimeLabel::focusOutEvent(QFocusEvent* /*event*/) {
    showsFocus_ = false;
    update();
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/player/progress_view.h"

#include <algorithm>

#include <QAbstractButton>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QVariantAnimation>

#include "player_window/controls/control_colors.h"

namespace zelvane {
namespace {

constexpr int kGap = 12;
constexpr int kIconSize = 32;
constexpr int kFontSize = 13;

QFont progressFont(QFont font) {
    font.setPixelSize(kFontSize);
    return font;
}

} // namespace

/// A bar with a part that moves to and fro: the end is unknown.
class ProgressView::Indicator final : public QWidget {
  public:
    explicit Indicator(QWidget* parent) : QWidget(parent) {
        setFixedHeight(4);
        animation_.setStartValue(0.0);
        animation_.setKeyValueAt(0.5, 1.0);
        animation_.setEndValue(0.0);
        animation_.setDuration(kPeriod);
        animation_.setLoopCount(-1);
        connect(&animation_, &QVariantAnimation::valueChanged, this, [this] { update(); });
    }
    void start() { animation_.start(); }

  protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        const double radius = height() / 2.0;
        painter.setBrush(control_colors::track());
        painter.drawRoundedRect(QRectF(rect()), radius, radius);
        const double part = width() * kPart;
        const double x = (width() - part) * animation_.currentValue().toDouble();
        painter.setBrush(accentColor(palette()));
        painter.drawRoundedRect(QRectF(x, 0, part, height()), radius, radius);
    }

  private:
    static constexpr int kPeriod = 2400;
    static constexpr double kPart = 0.3;
    QVariantAnimation animation_;
};

/// A button with a text in the look of the controls.
class ProgressView::Button final : public QAbstractButton {
  public:
    Button(const QString& text, QWidget* parent) : QAbstractButton(parent) {
        setText(text);
        setFont(progressFont(font()));
        setAttribute(Qt::WA_Hover);
        setFocusPolicy(Qt::StrongFocus);
        const int width = fontMetrics().horizontalAdvance(text) + 2 * kPadding;
        setFixedSize(std::max(width, kLeastWidth), kButtonHeight);
    }

  protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(isDown() || underMouse() ? control_colors::pressedFill()
                                                  : control_colors::hoverFill());
        painter.drawRoundedRect(QRectF(rect()), kRadius, kRadius);
        painter.setPen(control_colors::symbol());
        painter.drawText(rect(), Qt::AlignCenter, text());
        if (hasFocus()) {
            painter.setPen(QPen(accentColor(palette()), 2));
            painter.setBrush(Qt::NoBrush);
            painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), kRadius - 1,
                                    kRadius - 1);
        }
    }

  private:
    static constexpr int kPadding = 14;
    static constexpr int kLeastWidth = 72;
    static constexpr int kButtonHeight = 28;
    static constexpr double kRadius = 6;
};

// All widgets belong to this one. NOLINTBEGIN(cppcoreguidelines-owning-memory)
ProgressView::ProgressView(const QIcon& icon, const QString& text, QWidget* parent)
    : QWidget(parent), text_(text), label_(new QLabel(this)),
      cancelButton_(new Button(tr("Cancel"), this)) {
    auto* image = new QLabel(this);
    image->setPixmap(icon.pixmap(QSize(kIconSize, kIconSize), devicePixelRatio()));
    label_->setTextFormat(Qt::PlainText);
    label_->setFont(progressFont(label_->font()));
    QPalette light = label_->palette();
    light.setColor(QPalette::WindowText, control_colors::symbol());
    label_->setPalette(light);
    label_->setAccessibleName(text);
    // The text is elided to the room that the layout leaves.
    label_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    auto* indicator = new Indicator(this);
    indicator->start();

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(kGap, kGap, kGap, kGap);
    row->setSpacing(kGap);
    row->addWidget(image);
    auto* column = new QVBoxLayout;
    column->setSpacing(8);
    column->addWidget(label_);
    column->addWidget(indicator);
    row->addLayout(column, 1);
    row->addWidget(cancelButton_);
    setFocusProxy(cancelButton_);
    connect(cancelButton_, &QAbstractButton::clicked, this, &ProgressView::cancelled);
}
// NOLINTEND(cppcoreguidelines-owning-memory)

ProgressView::~ProgressView() = default;

void ProgressView::resizeEvent(QResizeEvent* /*event*/) {
    layout()->activate();
    label_->setText(label_->fontMetrics().elidedText(text_, Qt::ElideMiddle, label_->width()));
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/player/progress_sheet.h"

#include <algorithm>
#include <chrono>

#include <QAbstractButton>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QTimer>
#include <QVariantAnimation>

#include "player_window/controls/control_colors.h"
#include "player_window/views/player_view_layout.h"

namespace zelvane {
namespace {

constexpr std::chrono::milliseconds kDelay{250};
constexpr int kWidth = 420;
constexpr int kHeight = 64;
constexpr int kMargin = 16;
constexpr int kGap = 12;
constexpr int kIconSize = 32;
constexpr int kFontSize = 13;
constexpr double kCornerRadius = 10;
constexpr double kVeilOpacity = 0.4;

QFont sheetFont(QFont font) {
    font.setPixelSize(kFontSize);
    return font;
}

/// The ground of the sheet.
class Panel final : public QWidget {
  public:
    using QWidget::QWidget;

  protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(control_colors::hairline());
        painter.setBrush(control_colors::kPanel);
        painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), kCornerRadius,
                                kCornerRadius);
    }
};

} // namespace

/// A bar with a part that moves to and fro: the end is unknown.
class ProgressSheet::Indicator final : public QWidget {
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
class ProgressSheet::Button final : public QAbstractButton {
  public:
    Button(const QString& text, QWidget* parent) : QAbstractButton(parent) {
        setText(text);
        setFont(sheetFont(font()));
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
ProgressSheet::ProgressSheet(const QIcon& icon, const QString& text, QWidget* view)
    : QWidget(view), text_(text), panel_(new Panel(this)),
      cancelButton_(new Button(tr("Cancel"), panel_)) {
    setAccessibleName(text);
    auto* image = new QLabel(panel_);
    image->setPixmap(icon.pixmap(QSize(kIconSize, kIconSize), devicePixelRatio()));
    auto* label = new QLabel(panel_);
    label->setObjectName(QStringLiteral("text"));
    label->setTextFormat(Qt::PlainText);
    label->setFont(sheetFont(label->font()));
    QPalette light = label->palette();
    light.setColor(QPalette::WindowText, control_colors::symbol());
    label->setPalette(light);
    label->setAccessibleName(text);
    // The text is elided to the room that the layout leaves.
    label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    auto* indicator = new Indicator(panel_);
    indicator->start();

    auto* row = new QHBoxLayout(panel_);
    row->setContentsMargins(kGap, kGap, kGap, kGap);
    row->setSpacing(kGap);
    row->addWidget(image);
    auto* column = new QVBoxLayout;
    column->setSpacing(8);
    column->addWidget(label);
    column->addWidget(indicator);
    row->addLayout(column, 1);
    row->addWidget(cancelButton_);

    connect(cancelButton_, &QAbstractButton::clicked, this, &ProgressSheet::cancelled);
    view->installEventFilter(this);
    hide();
    QTimer::singleShot(kDelay, this, &QWidget::show);
}
// NOLINTEND(cppcoreguidelines-owning-memory)

ProgressSheet::~ProgressSheet() = default;

void ProgressSheet::layOut() {
    setGeometry(parentWidget()->rect());
    const int top = static_cast<int>(kTitleBarHeight);
    const int width = std::min(kWidth, this->width() - 2 * kMargin);
    panel_->setGeometry((this->width() - width) / 2, top + (height() - top - kHeight) / 2, width,
                        kHeight);
    panel_->layout()->activate();
    auto* label = panel_->findChild<QLabel*>(QStringLiteral("text"));
    label->setText(label->fontMetrics().elidedText(text_, Qt::ElideMiddle, label->width()));
}

void ProgressSheet::showEvent(QShowEvent* /*event*/) {
    raise();
    layOut();
    cancelButton_->setFocus();
}

bool ProgressSheet::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parentWidget() && event->type() == QEvent::Resize) {
        layOut();
    }
    return false;
}

void ProgressSheet::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        emit cancelled();
    } else {
        // Playing goes on behind the sheet, and so do its keys.
        event->ignore();
    }
}

void ProgressSheet::mousePressEvent(QMouseEvent* event) {
    event->accept();
}

void ProgressSheet::paintEvent(QPaintEvent* /*event*/) {
    QPainter(this).fillRect(rect(), QColor::fromRgbF(0, 0, 0, static_cast<float>(kVeilOpacity)));
}

} // namespace zelvane

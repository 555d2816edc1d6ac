// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/player/progress_sheet.h"

#include <algorithm>

#include <QKeyEvent>
#include <QPainter>
#include <QTimer>
#include <QVBoxLayout>

#include "player_window/controls/control_colors.h"
#include "player_window/player/progress_view.h"
#include "player_window/views/player_view_layout.h"

namespace zelvane {
namespace {

constexpr int kMargin = 16;
constexpr double kCornerRadius = 10;
constexpr double kVeilOpacity = 0.4;

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

// All widgets belong to this one. NOLINTBEGIN(cppcoreguidelines-owning-memory)
ProgressSheet::ProgressSheet(const QIcon& icon, const QString& text, QWidget* view)
    : QWidget(view), panel_(new Panel(this)), progress_(new ProgressView(icon, text, panel_)) {
    setAccessibleName(text);
    auto* fill = new QVBoxLayout(panel_);
    fill->setContentsMargins(0, 0, 0, 0);
    fill->addWidget(progress_);
    connect(progress_, &ProgressView::cancelled, this, &ProgressSheet::cancelled);
    view->installEventFilter(this);
    hide();
    QTimer::singleShot(ProgressView::kDelay, this, &QWidget::show);
}
// NOLINTEND(cppcoreguidelines-owning-memory)

ProgressSheet::~ProgressSheet() = default;

void ProgressSheet::layOut() {
    setGeometry(parentWidget()->rect());
    const int top = static_cast<int>(kTitleBarHeight);
    const QSize wanted = ProgressView::kPreferredSize;
    const int width = std::min(wanted.width(), this->width() - 2 * kMargin);
    panel_->setGeometry((this->width() - width) / 2, top + (height() - top - wanted.height()) / 2,
                        width, wanted.height());
}

void ProgressSheet::showEvent(QShowEvent* /*event*/) {
    raise();
    layOut();
    progress_->setFocus();
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

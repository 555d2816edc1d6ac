// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/start/start_view.h"

#include <algorithm>

#include <QDropEvent>
#include <QPainter>

#include "player_window/controls/control_colors.h"
#include "player_window/controls/focus_ring.h"
#include "player_window/dropped_subtitles.h"
#include "player_window/start/primary_button.h"
#include "player_window/start/recent_file_row.h"
#include "player_window/views/player_view_layout.h"

namespace zelvane {
namespace {

constexpr int kMargin = 20;
constexpr int kButtonTop = static_cast<int>(kTitleBarHeight) + 16;
constexpr int kHeaderFontSize = 11;
constexpr double kHeaderOpacity = 0.60;
/// Below the button.
constexpr int kHeaderHeight = 36;
constexpr int kHeaderDescent = 6;
constexpr int kBottom = 12;
constexpr int kHintHeight = 64;
constexpr int kHintFontSize = 13;
constexpr double kDropInset = 6;
constexpr double kDropRadius = 8;

std::vector<URL> acceptable(const QDropEvent& event) {
    return event.possibleActions().testFlag(Qt::CopyAction) ? droppedMedia(*event.mimeData())
                                                            : std::vector<URL>();
}

} // namespace

// The view owns its widgets. NOLINTBEGIN(cppcoreguidelines-owning-memory)
StartView::StartView(QWidget* parent)
    : QWidget(parent), openButton_(new PrimaryButton(tr("Open…"), this)) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setAcceptDrops(true);
    connect(openButton_, &PrimaryButton::clicked, this, &StartView::openRequested);
}

void StartView::setRecentFiles(const std::vector<URL>& files) {
    // A row may be the sender of the signal that led here.
    for (RecentFileRow* row : rows_) {
        row->hide();
        row->deleteLater();
    }
    rows_.clear();
    for (std::size_t i = 0; i < std::min(files.size(), kMostFiles); ++i) {
        const URL& file = files[i];
        auto* row = new RecentFileRow(file, this);
        connect(row, &RecentFileRow::clicked, this, [this, file] { emit filesChosen({file}); });
        connect(row, &RecentFileRow::removeRequested, this,
                [this, file] { emit removeRequested(file); });
        setTabOrder(rows_.empty() ? static_cast<QWidget*>(openButton_) : rows_.back(), row);
        row->show();
        rows_.push_back(row);
    }
    layOut();
    update();
}
// NOLINTEND(cppcoreguidelines-owning-memory)

CGSize StartView::fittingSize() const {
    const int top = kButtonTop + openButton_->sizeHint().height();
    const int rows = static_cast<int>(rows_.size()) * RecentFileRow::kHeight;
    const int height = rows_.empty() ? top + kHintHeight : top + kHeaderHeight + rows + kBottom;
    return {audioPlayerSize().width, static_cast<double>(height)};
}

void StartView::layOut() {
    const int buttonHeight = openButton_->sizeHint().height();
    openButton_->setGeometry(kMargin, kButtonTop, width() - 2 * kMargin, buttonHeight);
    // The texts of the rows are in line with the button.
    const int left = kMargin - RecentFileRow::kPadding;
    int y = kButtonTop + buttonHeight + kHeaderHeight;
    for (RecentFileRow* row : rows_) {
        row->setGeometry(left, y, width() - 2 * left, RecentFileRow::kHeight);
        y += RecentFileRow::kHeight;
    }
}

void StartView::resizeEvent(QResizeEvent* /*event*/) {
    layOut();
}

void StartView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(rect(), control_colors::kAudioWindow);
    painter.setRenderHint(QPainter::Antialiasing);
    const int top = openButton_->geometry().bottom() + 1;
    QFont font = this->font();
    font.setPixelSize(rows_.empty() ? kHintFontSize : kHeaderFontSize);
    font.setWeight(rows_.empty() ? QFont::Normal : QFont::DemiBold);
    painter.setFont(font);
    painter.setPen(control_colors::white(kHeaderOpacity));
    if (rows_.empty()) {
        painter.drawText(QRect(0, top, width(), kHintHeight), Qt::AlignCenter,
                         tr("or drop files here"));
    } else {
        painter.drawText(QRect(kMargin, top, width(), kHeaderHeight - kHeaderDescent),
                         Qt::AlignLeft | Qt::AlignBottom, tr("Recent"));
    }
    if (isDropTarget_) {
        painter.setPen(QPen(accentColor(palette()), kFocusRingWidth));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(
            QRectF(rect()).adjusted(kDropInset, kDropInset, -kDropInset, -kDropInset), kDropRadius,
            kDropRadius);
    }
}

void StartView::dragEnterEvent(QDragEnterEvent* event) {
    isDropTarget_ = !acceptable(*event).empty();
    event->setDropAction(Qt::CopyAction);
    event->setAccepted(isDropTarget_);
    update();
}

void StartView::dragLeaveEvent(QDragLeaveEvent* /*event*/) {
    isDropTarget_ = false;
    update();
}

void StartView::dropEvent(QDropEvent* event) {
    const auto files = acceptable(*event);
    isDropTarget_ = false;
    update();
    event->setDropAction(Qt::CopyAction);
    event->setAccepted(!files.empty());
    if (!files.empty()) {
        emit filesChosen(files);
    }
}

} // namespace zelvane

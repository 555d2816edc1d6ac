// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/tracks/tracks_popover.h"

#include <algorithm>
#include <array>
#include <utility>

#include <QAbstractButton>
#include <QApplication>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QScrollArea>
#include <QVBoxLayout>
#include <QWheelEvent>

#include "player_window/controls/control_colors.h"
#include "player_window/controls/discrete_slider.h"
#include "player_window/controls/panel_painting.h"
#include "player_window/controls/playback_rates.h"
#include "player_window/controls/widget_geometry.h"
#include "player_window/tracks/slim_scroll_bar.h"
#include "player_window/tracks/tracks_popover_layout.h"
#include "player_window/tracks/tracks_popover_row.h"

namespace zelvane {
namespace {

constexpr double kCornerRadius = 10;
constexpr float kGroundOpacity = 0.98F;
/// Keeps scrolled rows out of the round corners.
constexpr int kScrollInset = 4;
constexpr QMargins kContentMargins(8, 0, 8, 12);
constexpr int kTextInset = 10;
constexpr int kRowHeight = 27;
constexpr int kHeaderHeight = 31;
constexpr int kHeaderDescent = 4;
constexpr int kHeaderFontSize = 11;
constexpr int kSeparatorHeight = 15;
constexpr double kHeaderOpacity = 0.55;

/// For the translator: the headers of tracksMenu(), which does not use Qt.
[[maybe_unused]] constexpr std::array kHeaders{
    QT_TRANSLATE_NOOP("zelvane::TracksPopover", "Video Tracks"),
    QT_TRANSLATE_NOOP("zelvane::TracksPopover", "Audio Tracks"),
    QT_TRANSLATE_NOOP("zelvane::TracksPopover", "Subtitle Tracks"),
    QT_TRANSLATE_NOOP("zelvane::TracksPopover", "Subtitle Tracks (Bottom)"),
    QT_TRANSLATE_NOOP("zelvane::TracksPopover", "Subtitle Tracks (Top)"),
};

class Separator final : public QWidget {
  public:
    Separator() { setFixedHeight(kSeparatorHeight); }

  protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter(this).fillRect(kTextInset, height() / 2, width() - 2 * kTextInset, 1,
                                control_colors::hairline());
    }
};

bool haveSameRows(const TracksPopoverModel& a, const TracksPopoverModel& b) {
    const auto sameItem = [](const TracksMenuItem& x, const TracksMenuItem& y) {
        return x.track == y.track && x.title == y.title;
    };
    const auto sameSection = [&](const TracksMenuSection& x, const TracksMenuSection& y) {
        return x.header == y.header && x.role == y.role &&
               std::ranges::equal(x.items, y.items, sameItem);
    };
    return a.canAddSubtitles == b.canAddSubtitles &&
           std::ranges::equal(a.sections, b.sections, sameSection);
}

CGRect rectIn(const QWidget& window, const QWidget& widget) {
    return rectOf(QRect(widget.mapTo(&window, QPoint(0, 0)), widget.size()));
}

} // namespace

// All widgets belong to this one. NOLINTBEGIN(cppcoreguidelines-owning-memory)
TracksPopover::TracksPopover(QWidget* window)
    : QWidget(window), scrollArea_(new QScrollArea(this)) {
    setAttribute(Qt::WA_NoSystemBackground);
    setAccessibleName(tr("Tracks"));
    scrollArea_->setFrameShape(QFrame::NoFrame);
    scrollArea_->setFocusPolicy(Qt::NoFocus);
    scrollArea_->setWidgetResizable(true);
    scrollArea_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scrollArea_->setVerticalScrollBar(new SlimScrollBar(scrollArea_));
    scrollArea_->viewport()->setAutoFillBackground(false);
    hide();
}

void TracksPopover::setModel(TracksPopoverModel model) {
    const bool isSame = layout_ != nullptr && haveSameRows(model, model_);
    model_ = std::move(model);
    if (!isSame) {
        const auto focused = focusedItem();
        makeContent();
        if (isVisible()) {
            place();
            focusItem(std::max<std::ptrdiff_t>(focused, 0), Qt::PopupFocusReason);
        }
    }
    updateContent();
}

void TracksPopover::makeContent() {
    // A row may be the sender of the signal that led here.
    if (QWidget* old = scrollArea_->takeWidget()) {
        old->deleteLater();
    }
    trackRows_.clear();
    items_.clear();
    auto* content = new QWidget;
    layout_ = new QVBoxLayout(content);
    layout_->setSpacing(0);
    layout_->setContentsMargins(kContentMargins);
    for (const auto& section : model_.sections) {
        addSection(section);
    }
    addActions();
    addRates();
    scrollArea_->setWidget(content);
    content->setAutoFillBackground(false);
}

void TracksPopover::addHeader(const QString& text) {
    auto* header = new QLabel(text);
    QFont font = header->font();
    font.setPixelSize(kHeaderFontSize);
    font.setWeight(QFont::DemiBold);
    header->setFont(font);
    QPalette colors = header->palette();
    colors.setColor(QPalette::WindowText, control_colors::white(kHeaderOpacity));
    header->setPalette(colors);
    header->setTextFormat(Qt::PlainText);
    header->setAlignment(Qt::AlignLeft | Qt::AlignBottom);
    header->setContentsMargins(kTextInset, 0, kTextInset, kHeaderDescent);
    header->setFixedHeight(kHeaderHeight);
    layout_->addWidget(header);
}

void TracksPopover::addSection(const TracksMenuSection& section) {
    const QString header = tr(section.header.data());
    addHeader(header);
    for (const TracksMenuItem& item : section.items) {
        auto* row = new TracksPopoverRow(TracksPopoverRow::Kind::track,
                                         QString::fromStdString(item.title), nullptr);
        row->setAccessibleDescription(header);
        row->setFixedHeight(kRowHeight);
        layout_->addWidget(row);
        trackRows_.push_back(row);
        items_.push_back(row);
        connect(row, &QAbstractButton::clicked, this,
                [this, role = section.role, track = item.track] {
                    dismiss();
                    emit trackChosen(role, track);
                });
    }
}

void TracksPopover::addActions() {
    if (!model_.sections.empty()) {
        layout_->addWidget(new Separator);
    }
    if (model_.canAddSubtitles) {
        auto* row =
            new TracksPopoverRow(TracksPopoverRow::Kind::action, tr("Add Subtitles…"), nullptr);
        row->setFixedHeight(kRowHeight);
        layout_->addWidget(row);
        items_.push_back(row);
        connect(row, &QAbstractButton::clicked, this, [this] {
            dismiss();
            emit addSubtitlesChosen();
        });
    }
}

void TracksPopover::addRates() {
    addHeader(tr("Speed"));
    rateSlider_ = makePlaybackRateSlider(nullptr);
    connect(rateSlider_, &DiscreteSlider::valueDidChange, this,
            [this](double value) { emit rateChosen(static_cast<float>(value)); });
    auto* inset = new QHBoxLayout;
    inset->setContentsMargins(kTextInset, 2, kTextInset, 0);
    inset->addWidget(rateSlider_);
    layout_->addLayout(inset);
    items_.push_back(rateSlider_);
}
// NOLINTEND(cppcoreguidelines-owning-memory)

void TracksPopover::updateContent() {
    auto row = trackRows_.begin();
    for (const auto& section : model_.sections) {
        for (const auto& item : section.items) {
            (*row++)->setChecked(item.isChecked);
        }
    }
    rateSlider_->setSelectedIndex(nearestPlaybackRate(model_.rate));
}

void TracksPopover::openFor(QAbstractButton& button) {
    if (isVisible() || layout_ == nullptr) {
        return;
    }
    button_ = &button;
    previousFocus_ = window()->focusWidget();
    place();
    show();
    button.setDown(true);
    qApp->installEventFilter(this);
    scrollArea_->ensureVisible(0, 0);
    focusItem(0, button.hasFocus() ? Qt::TabFocusReason : Qt::PopupFocusReason);
}

void TracksPopover::dismiss() {
    if (!isVisible()) {
        return;
    }
    qApp->removeEventFilter(this);
    const bool hadFocus = isAncestorOf(window()->focusWidget());
    hide();
    if (button_) {
        button_->setDown(false);
    }
    if (hadFocus) {
        QWidget* next = previousFocus_ ? previousFocus_.data() : window();
        // A button that had the focus got it from the keyboard.
        next->setFocus(Qt::TabFocusReason);
    }
    emit closed();
}

void TracksPopover::place() {
    if (!button_) {
        return;
    }
    const QWidget& inWindow = *parentWidget();
    const int wanted = scrollArea_->widget()->sizeHint().height() + 2 * kScrollInset;
    const CGRect rect =
        tracksPopoverRect(rectIn(inWindow, *button_), rectIn(inWindow, *button_->parentWidget()),
                          sizeOf(inWindow.size()), wanted);
    // A resized window raises its title bar.
    raise();
    // The scroll bar takes the place of the right margin.
    layout_->setContentsMargins(
        kContentMargins - QMargins(0, 0, rect.height < wanted ? SlimScrollBar::kWidth : 0, 0));
    setGeometry(nearestPoints(rect));
}

bool TracksPopover::eventFilter(QObject* watched, QEvent* event) {
    const auto* widget = qobject_cast<const QWidget*>(watched);
    if (widget == nullptr || widget->window() != window()) {
        return false;
    }
    switch (event->type()) {
    case QEvent::Resize:
        if (widget == parentWidget()) {
            // After the window has laid out its other children.
            QMetaObject::invokeMethod(
                this, [this] { place(); }, Qt::QueuedConnection);
        }
        return false;
    case QEvent::MouseButtonPress:
        return filterMousePress(*widget);
    case QEvent::ShortcutOverride:
    case QEvent::KeyPress:
        return filterKey(static_cast<QKeyEvent*>(event));
    default:
        return false;
    }
}

bool TracksPopover::filterMousePress(const QWidget& widget) {
    if (&widget == this || isAncestorOf(&widget)) {
        return false;
    }
    dismiss();
    return true;
}

bool TracksPopover::filterKey(QKeyEvent* event) {
    if (event->modifiers() & ~(Qt::KeypadModifier | Qt::ShiftModifier) || !isMine(event->key())) {
        return false;
    }
    event->accept();
    if (event->type() == QEvent::KeyPress) {
        pressKey(event->key());
    }
    return true;
}

bool TracksPopover::isMine(int key) const {
    const bool isOnRow = qobject_cast<TracksPopoverRow*>(window()->focusWidget()) != nullptr;
    switch (key) {
    case Qt::Key_Escape:
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
    case Qt::Key_Home:
    case Qt::Key_End:
        return isOnRow;
    default:
        return false;
    }
}

void TracksPopover::pressKey(int key) {
    switch (key) {
    case Qt::Key_Escape:
        dismiss();
        break;
    case Qt::Key_Up:
    case Qt::Key_Backtab:
        moveFocus(-1);
        break;
    case Qt::Key_Down:
    case Qt::Key_Tab:
        moveFocus(1);
        break;
    case Qt::Key_Home:
        focusItem(0, Qt::TabFocusReason);
        break;
    case Qt::Key_End:
        focusItem(static_cast<std::ptrdiff_t>(items_.size()) - 1, Qt::TabFocusReason);
        break;
    default:
        if (auto* row = qobject_cast<TracksPopoverRow*>(window()->focusWidget())) {
            row->click();
        }
    }
}

std::ptrdiff_t TracksPopover::focusedItem() const {
    const auto focused = std::ranges::find(items_, window()->focusWidget());
    return focused == items_.end() ? -1 : focused - items_.begin();
}

void TracksPopover::moveFocus(int step) {
    const auto count = static_cast<std::ptrdiff_t>(items_.size());
    const auto focused = focusedItem();
    const auto next = focused < 0 ? 0 : focused + step;
    focusItem((next + count) % count, Qt::TabFocusReason);
}

void TracksPopover::focusItem(std::ptrdiff_t index, Qt::FocusReason reason) {
    const auto last = static_cast<std::ptrdiff_t>(items_.size()) - 1;
    QWidget* item = items_[static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(index, 0, last))];
    item->setFocus(reason);
    // With the header of its section, or with the end of the popover.
    scrollArea_->ensureWidgetVisible(item, 0, kHeaderHeight);
}

void TracksPopover::resizeEvent(QResizeEvent* /*event*/) {
    scrollArea_->setGeometry(rect().adjusted(0, kScrollInset, 0, -kScrollInset));
}

void TracksPopover::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor ground = control_colors::kPanel;
    ground.setAlphaF(control_colors::increasesContrast() ? 1 : kGroundOpacity);
    fillRounded(painter, *this, rect(), kCornerRadius, ground);
    paintHairline(painter, *this, rect(), kCornerRadius);
}

void TracksPopover::mousePressEvent(QMouseEvent* event) {
    event->accept();
}

void TracksPopover::contextMenuEvent(QContextMenuEvent* event) {
    event->accept();
}

void TracksPopover::wheelEvent(QWheelEvent* event) {
    event->accept();
}

} // namespace zelvane

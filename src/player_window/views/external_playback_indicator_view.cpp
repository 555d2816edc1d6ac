// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/views/external_playback_indicator_view.h"

#include <cmath>

#include <QLabel>
#include <QPainter>

#include "player_window/controls/control_colors.h"
#include "player_window/controls/widget_geometry.h"
#include "player_window/views/player_view_layout.h"

namespace zelvane {
namespace {

constexpr double kSymbolSize = 62.5;
constexpr double kSymbolOpacity = 0.55;
constexpr int kTitleSize = 17;
constexpr int kTextSize = 13;

CGSize sizeHintOf(const QLabel& label) {
    return sizeOf(label.sizeHint());
}

void place(QLabel& label, const CGRect& rect) {
    label.setGeometry(static_cast<int>(std::lround(rect.x)), static_cast<int>(std::lround(rect.y)),
                      static_cast<int>(std::ceil(rect.width)),
                      static_cast<int>(std::ceil(rect.height)));
}

} // namespace

// All labels belong to this view. NOLINTBEGIN(cppcoreguidelines-owning-memory)
ExternalPlaybackIndicatorView::ExternalPlaybackIndicatorView(ControlSymbol symbol,
                                                             const QString& symbolDescription,
                                                             const QString& title,
                                                             const QString& subtitle,
                                                             QWidget* parent)
    : QWidget(parent), symbol_(symbol), imageLabel_(new QLabel(this)),
      titleLabel_(makeLabel(title, subtitle.isEmpty() ? kTextSize : kTitleSize)) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    imageLabel_->setAccessibleName(symbolDescription);
    if (!subtitle.isEmpty()) {
        subtitleLabel_ = makeLabel(subtitle, kTextSize);
    }
}

QLabel* ExternalPlaybackIndicatorView::makeLabel(const QString& text, int fontSize) {
    auto* label = new QLabel(text, this);
    label->setTextFormat(Qt::PlainText);
    label->setAlignment(Qt::AlignCenter);
    QFont font = label->font();
    font.setPixelSize(fontSize);
    label->setFont(font);
    QPalette colors = label->palette();
    colors.setColor(QPalette::WindowText, control_colors::symbol());
    label->setPalette(colors);
    return label;
}
// NOLINTEND(cppcoreguidelines-owning-memory)

void ExternalPlaybackIndicatorView::updateSymbol() {
    if (imageLabel_->pixmap().devicePixelRatio() != devicePixelRatio() ||
        imageLabel_->pixmap().isNull()) {
        imageLabel_->setPixmap(controlSymbolPixmap(symbol_, kSymbolSize, devicePixelRatio(),
                                                   control_colors::white(kSymbolOpacity)));
    }
}

void ExternalPlaybackIndicatorView::resizeEvent(QResizeEvent* /*event*/) {
    updateSymbol();
    const auto layout = layOutExternalPlaybackIndicator(
        {static_cast<double>(width()), static_cast<double>(height())}, sizeHintOf(*imageLabel_),
        sizeHintOf(*titleLabel_),
        subtitleLabel_ == nullptr ? std::nullopt : std::optional(sizeHintOf(*subtitleLabel_)));
    place(*imageLabel_, layout.image);
    place(*titleLabel_, layout.title);
    if (subtitleLabel_ != nullptr) {
        place(*subtitleLabel_, *layout.subtitle);
    }
}

void ExternalPlaybackIndicatorView::paintEvent(QPaintEvent* /*event*/) {
    QPainter(this).fillRect(rect(), Qt::black);
}

} // namespace zelvane

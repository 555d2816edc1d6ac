// SPDX-License-Identifier: GPL-3.0-or-later
#include "preferences_window/preferences_window_view_controller.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <QEvent>
#include <QScreen>
#include <QScrollBar>

namespace zelvane {
namespace {

/// The frame that the window manager adds, about.
constexpr int kTitleBarHeight = 48;

} // namespace

PreferencesWindowViewController::PreferencesWindowViewController(
    PreferencePaneViewControllers viewControllers, std::function<bool()> reducesMotion)
    : viewControllers_(std::move(viewControllers)), reducesMotion_(std::move(reducesMotion)),
      // The scroll area owns it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
      holder_(new QWidget) {
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWidget(holder_);
    for (auto* pane : viewControllers_.viewControllers()) {
        pane->setParent(holder_);
        pane->hide();
        pane->installEventFilter(this);
    }
    connect(&animation_, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& value) { setProgress(value.toDouble()); });
    connect(&animation_, &QVariantAnimation::finished, this,
            &PreferencesWindowViewController::showPane);
    animation_.setStartValue(0.0);
    animation_.setEndValue(1.0);
    animation_.setEasingCurve(QEasingCurve::InOutQuad);
}

PreferencesWindowViewController::~PreferencesWindowViewController() {
    // Panes may still send events while they are destroyed.
    for (auto* pane : viewControllers_.viewControllers()) {
        pane->removeEventFilter(this);
    }
}

void PreferencesWindowViewController::setWidth() {
    int widest = 0;
    for (const auto* pane : viewControllers_.viewControllers()) {
        widest = std::max(widest, pane->sizeHint().width());
    }
    const bool scrolls = verticalScrollBarPolicy() != Qt::ScrollBarAlwaysOff;
    setFixedWidth(widest + (scrolls ? verticalScrollBar()->sizeHint().width() : 0));
    const QSize content(widest, visiblePane_->sizeHint().height());
    visiblePane_->setGeometry(QRect(QPoint(0, 0), content));
    holder_->resize(content);
}

PaneHeight PreferencesWindowViewController::wantedHeight() const {
    const int around = std::max(window()->height() - height(), 0) + kTitleBarHeight;
    return paneHeightFor(visiblePane_->sizeHint().height(),
                         window()->screen()->availableGeometry().height(),
                         window()->isVisible() ? around : 2 * kTitleBarHeight);
}

void PreferencesWindowViewController::fitToPane() {
    const PaneHeight height = wantedHeight();
    setVerticalScrollBarPolicy(height.scrolls ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOff);
    setWidth();
    setFixedHeight(height.height);
}

void PreferencesWindowViewController::setVisiblePreferencePaneIdentifier(
    const PreferencePaneIdentifier& identifier) {
    auto* pane = viewControllers_.viewController(identifier);
    if (pane == visiblePane_) {
        return;
    }
    // Does not emit finished().
    animation_.stop();
    if (visiblePane_ != nullptr) {
        if (visiblePane_->isAncestorOf(window()->focusWidget())) {
            // Otherwise the focus would move to the toolbar.
            window()->setFocus();
        }
        visiblePane_->hide();
    }
    visiblePane_ = pane;
    if (!window()->isVisible()) {
        showPane();
        return;
    }
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWidth();
    changeHeight(wantedHeight().height);
}

void PreferencesWindowViewController::changeHeight(int newHeight) {
    const QRect frame = window()->frameGeometry();
    const QRect newFrame = frame.adjusted(0, 0, 0, newHeight - height());
    change_ = {height(), newHeight, frame.topLeft(),
               distanceUp(newFrame, window()->screen()->availableGeometry())};
    const int duration = animationResizeTime(height(), newHeight, reducesMotion_());
    if (duration == 0) {
        setProgress(1);
        showPane();
        return;
    }
    animation_.setDuration(duration);
    animation_.start();
}

void PreferencesWindowViewController::setProgress(double progress) {
    const auto share = [progress](int whole) {
        return static_cast<int>(std::lround(whole * progress));
    };
    if (change_.distanceUp > 0) {
        window()->move(change_.corner - QPoint(0, share(change_.distanceUp)));
    }
    setFixedHeight(change_.oldHeight + share(change_.newHeight - change_.oldHeight));
}

void PreferencesWindowViewController::showPane() {
    fitToPane();
    visiblePane_->show();
}

bool PreferencesWindowViewController::eventFilter(QObject* watched, QEvent* event) {
    const bool isLayout = event->type() == QEvent::LayoutRequest;
    if (isLayout && watched == visiblePane_ && animation_.state() == QAbstractAnimation::Stopped) {
        fitToPane();
    }
    return QScrollArea::eventFilter(watched, event);
}

} // namespace zelvane

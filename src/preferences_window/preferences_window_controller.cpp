// SPDX-License-Identifier: GPL-3.0-or-later
#include "preferences_window/preferences_window_controller.h"

#include <algorithm>
#include <utility>

#include <QDialog>
#include <QFrame>
#include <QScreen>
#include <QShortcut>
#include <QVBoxLayout>

#include "preferences_window/preferences_window_title_controller.h"
#include "preferences_window/preferences_window_view_controller.h"
#include "preferences_window/single_item_preference_pane_selection_controller.h"
#include "preferences_window/toolbar_preference_pane_selection_controller.h"

namespace zelvane {
namespace {

std::vector<PreferencePane*> released(std::vector<std::unique_ptr<PreferencePane>> panes) {
    std::vector<PreferencePane*> all;
    all.reserve(panes.size());
    for (auto& pane : panes) {
        all.push_back(pane.release());
    }
    return all;
}

// The window owns its parts. NOLINTBEGIN(cppcoreguidelines-owning-memory)
std::unique_ptr<QDialog> makeWindow() {
    auto window = std::make_unique<QDialog>();
    window->setObjectName(QStringLiteral("ZLPreferencesWindow.window"));
    window->setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                           Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint);
    auto* close = new QShortcut(QKeySequence::Close, window.get());
    QObject::connect(close, &QShortcut::activated, window.get(), &QWidget::close);
    auto* column = new QVBoxLayout(window.get());
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->setSizeConstraint(QLayout::SetFixedSize);
    return window;
}

QFrame* makeSeparator() {
    auto* line = new QFrame;
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    return line;
}

/// Adds the toolbar to the window if there is more than one pane.
std::unique_ptr<PreferencePaneSelectionController>
makeSelectionController(const PreferencePaneViewControllers& panes, QDialog& window) {
    if (panes.viewControllers().size() == 1) {
        return std::make_unique<SingleItemPreferencePaneSelectionController>(
            panes.viewControllers().front()->preferencePaneIdentifier());
    }
    auto controller = std::make_unique<ToolbarPreferencePaneSelectionController>(panes, &window);
    window.layout()->addWidget(controller->toolbar());
    window.layout()->addWidget(makeSeparator());
    return controller;
}
// NOLINTEND(cppcoreguidelines-owning-memory)

} // namespace

PreferencesWindowController::PreferencesWindowController(
    std::vector<std::unique_ptr<PreferencePane>> panes, UserDefaults& defaults,
    std::function<bool()> reducesMotion)
    : window_(makeWindow()), viewControllers_(released(std::move(panes))),
      lastViewedPreferencePaneController_(defaults),
      selectionController_(makeSelectionController(viewControllers_, *window_)),
      // The window owns both. NOLINTBEGIN(cppcoreguidelines-owning-memory)
      windowViewController_(
          new PreferencesWindowViewController(viewControllers_, std::move(reducesMotion))),
      windowTitleController_(new PreferencesWindowTitleController(
          viewControllers_, viewControllers_.viewControllers().size() > 1, window_.get()))
// NOLINTEND(cppcoreguidelines-owning-memory)
{
    window_->layout()->addWidget(windowViewController_);
    selectionController_->setDelegate(
        [this](const PreferencePaneIdentifier& identifier) { selectionDidChange(identifier); });
    select(viewControllers_.initialIdentifier(
        lastViewedPreferencePaneController_.lastViewedPreferencePaneIdentifier()));
}

PreferencesWindowController::~PreferencesWindowController() = default;

void PreferencesWindowController::select(const PreferencePaneIdentifier& identifier) {
    selectionController_->setSelectedPreferencePaneIdentifier(identifier);
    selectionDidChange(identifier);
}

void PreferencesWindowController::selectionDidChange(const PreferencePaneIdentifier& identifier) {
    windowViewController_->setVisiblePreferencePaneIdentifier(identifier);
    windowTitleController_->setSelectedPreferencePaneIdentifier(identifier);
    lastViewedPreferencePaneController_.setLastViewedPreferencePaneIdentifier(identifier);
}

void PreferencesWindowController::showPane(const PreferencePaneIdentifier& identifier) {
    if (viewControllers_.viewController(identifier) != nullptr) {
        select(identifier);
    }
    showWindow();
}

void PreferencesWindowController::showWindow() {
    if (!std::exchange(hasBeenShown_, true)) {
        // No control has the focus at first: a pressed key changes nothing.
        window_->setFocus();
        window_->adjustSize();
        QRect frame(QPoint(0, 0), window_->size());
        frame.moveCenter(window_->screen()->availableGeometry().center());
        window_->move(frame.topLeft());
    }
    window_->show();
    window_->raise();
    window_->activateWindow();
}

} // namespace zelvane

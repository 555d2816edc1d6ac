// SPDX-License-Identifier: GPL-3.0-or-later
#include "preferences_window/preferences_window_title_controller.h"

#include <utility>

#include <QGuiApplication>

namespace zelvane {
namespace {

QString genericTitle() {
    const QString name = QGuiApplication::applicationDisplayName();
    return PreferencesWindowTitleController::tr("%1 Preferences")
        .arg(name.isEmpty() ? PreferencesWindowTitleController::tr("App") : name);
}

} // namespace

PreferencesWindowTitleController::PreferencesWindowTitleController(
    PreferencePaneViewControllers viewControllers, bool shouldUsePreferencePaneTitleForWindowTitle,
    QWidget* window)
    : QObject(window), viewControllers_(std::move(viewControllers)),
      shouldUsePreferencePaneTitleForWindowTitle_(shouldUsePreferencePaneTitleForWindowTitle),
      window_(*window) {}

void PreferencesWindowTitleController::setSelectedPreferencePaneIdentifier(
    const PreferencePaneIdentifier& identifier) {
    disconnect(titleObservation_);
    const auto* pane = viewControllers_.viewController(identifier);
    titleObservation_ = connect(pane, &QWidget::windowTitleChanged, this,
                                &PreferencesWindowTitleController::updateTitle);
    updateTitle(pane->windowTitle());
}

void PreferencesWindowTitleController::updateTitle(const QString& paneTitle) {
    const bool usesPane = shouldUsePreferencePaneTitleForWindowTitle_ && !paneTitle.isEmpty();
    window_.setWindowTitle(usesPane ? paneTitle : genericTitle());
}

} // namespace zelvane

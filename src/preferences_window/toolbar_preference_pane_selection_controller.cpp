// SPDX-License-Identifier: GPL-3.0-or-later
#include "preferences_window/toolbar_preference_pane_selection_controller.h"

#include <utility>

#include <QHBoxLayout>

#include "preferences_window/toolbar_item.h"

namespace zelvane {
namespace {

constexpr int kMargin = 6;
constexpr int kSpacing = 4;

} // namespace

// The window owns the toolbar and its parts. NOLINTBEGIN(cppcoreguidelines-owning-memory)
ToolbarPreferencePaneSelectionController::ToolbarPreferencePaneSelectionController(
    const PreferencePaneViewControllers& viewControllers, QWidget* window)
    : toolbar_(new QWidget(window)) {
    auto* row = new QHBoxLayout(toolbar_);
    row->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    row->setSpacing(kSpacing);
    row->addStretch();
    for (const auto* pane : viewControllers.viewControllers()) {
        addItem(*pane, *row);
    }
    row->addStretch();
    setSelectedPreferencePaneIdentifier(
        viewControllers.viewControllers().front()->preferencePaneIdentifier());
}

void ToolbarPreferencePaneSelectionController::addItem(const PreferencePane& pane,
                                                       QHBoxLayout& row) {
    auto* item = new ToolbarItem(pane, toolbar_);
    const auto setTitle = [item](const QString& title) {
        item->setText(title.isEmpty() ? tr("Preferences") : title);
    };
    setTitle(pane.windowTitle());
    connect(&pane, &QWidget::windowTitleChanged, item, setTitle);
    const auto& identifier = pane.preferencePaneIdentifier();
    connect(item, &QToolButton::clicked, this,
            [this, identifier] { performToolbarItemAction(identifier); });
    row.addWidget(item);
    items_.emplace(identifier, item);
}
// NOLINTEND(cppcoreguidelines-owning-memory)

void ToolbarPreferencePaneSelectionController::setSelectedPreferencePaneIdentifier(
    const PreferencePaneIdentifier& identifier) {
    selectedPreferencePaneIdentifier_ = identifier;
    items_.at(identifier)->setChecked(true);
}

void ToolbarPreferencePaneSelectionController::setDelegate(
    PreferencePaneSelectionControllerDelegate delegate) {
    delegate_ = std::move(delegate);
}

void ToolbarPreferencePaneSelectionController::performToolbarItemAction(
    const PreferencePaneIdentifier& identifier) {
    setSelectedPreferencePaneIdentifier(identifier);
    if (delegate_) {
        delegate_(identifier);
    }
}

} // namespace zelvane

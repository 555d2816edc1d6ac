// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/player/menu_filling.h"

#include <QAction>
#include <QHBoxLayout>
#include <QMenu>
#include <QWidgetAction>

#include "player_window/controls/control_colors.h"
#include "player_window/controls/discrete_slider.h"
#include "player_window/controls/playback_rates.h"

namespace zelvane {
namespace {

/// The titles of tracks may contain the character that marks a mnemonic.
QString literal(QString title) {
    return title.replace('&', QStringLiteral("&&"));
}

constexpr QMargins kSliderInsets(14, 7, 14, 7);

using Choose = std::function<void(const MenuCommand&)>;

// The menu owns all of it. NOLINTBEGIN(cppcoreguidelines-owning-memory)
void addRateSlider(QMenu& menu, const MenuEntry& entry, const Choose& choose) {
    auto* view = new QWidget(&menu);
    auto* layout = new QHBoxLayout(view);
    layout->setContentsMargins(kSliderInsets);
    auto* slider = makePlaybackRateSlider(view);
    slider->setSelectedIndex(nearestPlaybackRate(*entry.sliderRate));
    slider->setEnabled(entry.isEnabled);
    layout->addWidget(slider);
    QObject::connect(slider, &DiscreteSlider::valueDidChange,
                     [choose](double rate) { choose(RateChoice{static_cast<float>(rate)}); });
    auto* action = new QWidgetAction(&menu);
    action->setDefaultWidget(view);
    action->setEnabled(entry.isEnabled);
    menu.addAction(action);
}
// NOLINTEND(cppcoreguidelines-owning-memory)

void addItem(QMenu& menu, const MenuEntry& entry, const Choose& choose) {
    QAction* action = menu.addAction(literal(entry.title));
    action->setShortcut(entry.key);
    // The window handles its keys: in a menu bar they would take them from its controls.
    action->setShortcutContext(Qt::WidgetShortcut);
    action->setShortcutVisibleInContextMenu(true);
    action->setEnabled(entry.isEnabled);
    action->setCheckable(entry.isCheckable);
    action->setChecked(entry.isChecked);
    QObject::connect(action, &QAction::triggered,
                     [choose, command = entry.command] { choose(command); });
}

} // namespace

void fillMenu(QMenu& menu, const std::vector<MenuEntry>& entries, const Choose& choose,
              MenuHost host) {
    menu.setPalette(control_colors::menuPalette());
    for (const MenuEntry& entry : entries) {
        if (entry.title.isEmpty()) {
            menu.addSeparator();
        } else if (entry.sliderRate && host == MenuHost::program) {
            addRateSlider(menu, entry, choose);
        } else if (!entry.children.empty()) {
            QMenu* submenu = menu.addMenu(literal(entry.title));
            submenu->setEnabled(entry.isEnabled);
            fillMenu(*submenu, entry.children, choose, host);
        } else {
            addItem(menu, entry, choose);
        }
    }
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "preferences/settings_pane.h"

#include <string>
#include <utility>

#include <QCheckBox>
#include <QPointer>

#include "foundation/user_defaults.h"
#include "player_window/controls/control_symbol.h"

// Outside of namespaces, as the macro asks.
static void initializePreferenceSymbols() {
    Q_INIT_RESOURCE(preferences);
}

namespace zelvane {

SettingsPane::SettingsPane(PreferencePaneIdentifier identifier, QString symbol,
                           UserDefaults& defaults)
    : PreferencePane(std::move(identifier)), symbol_(std::move(symbol)), defaults_(defaults) {
    initializePreferenceSymbols();
    settingsObserver_ = NotificationCenter::shared().addObserver(
        std::string(UserDefaults::kDidChangeNotification), &defaults_, dispatch::mainQueue(),
        [self = QPointer(this)](const Notification&) {
            for (std::size_t i = 0; self && i < self->refreshers_.size(); ++i) {
                self->refreshers_[i]();
            }
        });
}

QPixmap SettingsPane::toolbarItemImage(double size, double devicePixelRatio,
                                       const QColor& tint) const {
    return symbolPixmap(QStringLiteral(":/preferences/%1.svg").arg(symbol_), size, devicePixelRatio,
                        tint);
}

void SettingsPane::follow(std::function<void()> refresh) {
    refresh();
    refreshers_.push_back(std::move(refresh));
}

void SettingsPane::bind(QCheckBox& checkBox, std::string_view key, std::function<void()> didStore) {
    const std::string name(key);
    follow([this, &checkBox, name] { checkBox.setChecked(defaults_.boolForKey(name)); });
    connect(&checkBox, &QCheckBox::clicked, this,
            [this, name, didStore = std::move(didStore)](bool isOn) {
                defaults_.set(name, isOn);
                if (didStore) {
                    didStore();
                }
            });
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include <QFileSystemWatcher>
#include <QSettings>
#include <QVariant>

namespace zelvane {

/// Watches the settings file for changes by other programs (an editor, another player) and by this
/// one, reads the file again, and reports which caption settings changed. Main thread.
class SettingsFileWatcher {
  public:
    struct Handlers {
        /// Some caption or audible setting has another value.
        std::function<void()> captionAppearanceDidChange;
        /// The setting that the user's style replaces that of files changed.
        std::function<void()> useOfUserSpecifiedStyleDidChange;
        /// Any setting changed; called before the other handlers.
        std::function<void()> settingsDidChange = {};
    };
    /// Watches the file of SettingsStore.
    explicit SettingsFileWatcher(Handlers handlers);

  private:
    void watch();
    void look();
    QVariantMap allSettings() const;

    Handlers handlers_;
    /// A second QSettings on the file of the store: Qt shares the contents between them.
    QSettings settings_;
    QFileSystemWatcher watcher_;
    QVariantMap known_;
};

} // namespace zelvane

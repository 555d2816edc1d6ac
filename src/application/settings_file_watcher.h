// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include <QFileSystemWatcher>
#include <QSettings>
#include <QVariant>

namespace zelvane {

/// Notices that somebody else has written the settings file, an editor or another player, and tells
/// of what has changed about captions: from then on the settings read as the file has them. What
/// this process writes itself is told in the same way. Main thread.
class SettingsFileWatcher {
  public:
    struct Handlers {
        /// Some caption or audible setting has another value.
        std::function<void()> captionAppearanceDidChange;
        /// The person's style has begun to replace that of files, or has ceased to.
        std::function<void()> useOfUserSpecifiedStyleDidChange;
    };
    /// Watches the file of SettingsStore.
    explicit SettingsFileWatcher(Handlers handlers);

  private:
    void watch();
    void look();
    QVariantMap captionSettings() const;
    QVariant usesOwnStyle() const;

    Handlers handlers_;
    /// The store's twin: all objects of one file share its contents.
    QSettings settings_;
    QFileSystemWatcher watcher_;
    QVariantMap captions_;
    QVariant usesOwnStyle_;
};

} // namespace zelvane

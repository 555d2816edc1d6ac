// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/settings_file_watcher.h"

#include <utility>

#include <QDir>
#include <QFileInfo>

#include "application/settings_store.h"
#include "media_player/decoders/subtitles/subtitle_text_style_manager.h"

namespace zelvane {
namespace {

QVariantMap captionSettingsOf(const QVariantMap& settings) {
    QVariantMap found;
    for (auto setting = settings.begin(); setting != settings.end(); ++setting) {
        if (setting.key().startsWith(QStringLiteral("ZLVNCaption")) ||
            setting.key().startsWith(QStringLiteral("ZLVNAudible"))) {
            found.insert(setting.key(), setting.value());
        }
    }
    return found;
}

QString ownStyleKey() {
    const auto& key = kUseUserSpecifiedSubtitleTextStyleKey;
    return QString::fromUtf8(key.data(), static_cast<qsizetype>(key.size()));
}

} // namespace

SettingsFileWatcher::SettingsFileWatcher(Handlers handlers)
    : handlers_(std::move(handlers)), settings_(SettingsStore::fileName(), QSettings::IniFormat),
      known_(allSettings()) {
    // Most programs replace the file, which changes its folder.
    QDir().mkpath(QFileInfo(settings_.fileName()).path());
    QObject::connect(&watcher_, &QFileSystemWatcher::directoryChanged, [this] { look(); });
    QObject::connect(&watcher_, &QFileSystemWatcher::fileChanged, [this] { look(); });
    watch();
}

void SettingsFileWatcher::watch() {
    watcher_.addPath(QFileInfo(settings_.fileName()).path());
    if (QFileInfo::exists(settings_.fileName())) {
        // A replaced file is no longer watched.
        watcher_.addPath(settings_.fileName());
    }
}

void SettingsFileWatcher::look() {
    settings_.sync();
    watch();
    const QVariantMap earlier = std::exchange(known_, allSettings());
    if (known_ == earlier) {
        return;
    }
    if (handlers_.settingsDidChange) {
        handlers_.settingsDidChange();
    }
    if (captionSettingsOf(known_) != captionSettingsOf(earlier)) {
        handlers_.captionAppearanceDidChange();
    }
    if (known_.value(ownStyleKey()) != earlier.value(ownStyleKey())) {
        handlers_.useOfUserSpecifiedStyleDidChange();
    }
}

QVariantMap SettingsFileWatcher::allSettings() const {
    QVariantMap found;
    for (const QString& key : settings_.allKeys()) {
        found.insert(key, settings_.value(key));
    }
    return found;
}

} // namespace zelvane

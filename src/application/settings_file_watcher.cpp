// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/settings_file_watcher.h"

#include <utility>

#include <QDir>
#include <QFileInfo>

#include "application/settings_store.h"
#include "media_player/decoders/subtitles/subtitle_text_style_manager.h"

namespace zelvane {

SettingsFileWatcher::SettingsFileWatcher(Handlers handlers)
    : handlers_(std::move(handlers)), settings_(SettingsStore::fileName(), QSettings::IniFormat),
      captions_(captionSettings()), usesOwnStyle_(usesOwnStyle()) {
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
    const auto oldCaptions = std::exchange(captions_, captionSettings());
    const auto usedOwnStyle = std::exchange(usesOwnStyle_, usesOwnStyle());
    if (captions_ != oldCaptions) {
        handlers_.captionAppearanceDidChange();
    }
    if (usesOwnStyle_ != usedOwnStyle) {
        handlers_.useOfUserSpecifiedStyleDidChange();
    }
}

QVariantMap SettingsFileWatcher::captionSettings() const {
    QVariantMap found;
    for (const QString& key : settings_.allKeys()) {
        if (key.startsWith(QStringLiteral("ZLVNCaption")) ||
            key.startsWith(QStringLiteral("ZLVNAudible"))) {
            found.insert(key, settings_.value(key));
        }
    }
    return found;
}

QVariant SettingsFileWatcher::usesOwnStyle() const {
    const auto& key = kUseUserSpecifiedSubtitleTextStyleKey;
    return settings_.value(QString::fromUtf8(key.data(), static_cast<qsizetype>(key.size())));
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/subtitles_choice.h"

#include <algorithm>

#include <QLocale>
#include <QStringList>

namespace zelvane {
namespace {

QString languageName(const std::string& code) {
    const QLocale::Language language =
        QLocale::codeToLanguage(QString::fromStdString(code.substr(0, code.find('-'))));
    return language == QLocale::AnyLanguage
               ? QStringLiteral("[%1]").arg(QString::fromStdString(code))
               : QLocale::languageToString(language);
}

QString languageNames(const SubtitlesTrack& track) {
    QStringList names;
    for (const auto& code : track.languageCodes()) {
        names << languageName(code);
    }
    return names.isEmpty() ? QStringLiteral("Unknown Language") : names.join('/');
}

} // namespace

SubtitlesTrackRef nextSubtitlesTrack(SubtitlesTracks tracks, const SubtitlesTrackRef& current,
                                     const SubtitlesTrackRef& shownElsewhere) {
    std::erase(tracks, shownElsewhere);
    auto next = tracks.begin();
    if (current) {
        next = std::find(tracks.begin(), tracks.end(), current);
        next = next == tracks.end() ? next : next + 1;
    }
    return next == tracks.end() ? nullptr : *next;
}

std::optional<SubtitlesPosition> freePositionFor(const SubtitlesTrackRef& track,
                                                 const SubtitlesTrackRef& primary,
                                                 const SubtitlesTrackRef& secondary) {
    if (track == primary || track == secondary || (primary && secondary)) {
        return std::nullopt;
    }
    return primary ? SubtitlesPosition::secondary : SubtitlesPosition::primary;
}

QString subtitlesTrackName(const SubtitlesTrack& track) {
    QString name = languageNames(track);
    if (const auto& title = track.title()) {
        name = QStringLiteral("%1: “%2”").arg(name, QString::fromStdString(*title));
    }
    return track.isExternal() ? QStringLiteral("[Added] %1").arg(name) : name;
}

} // namespace zelvane

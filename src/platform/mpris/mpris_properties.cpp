// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/mpris/mpris_properties.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cmath>

#include <QStringList>

namespace zelvane {
namespace {

/// The clock waits up to 40 ms for the sound device when it starts, and a notification takes some
/// milliseconds to be published.
constexpr double kToleratedSeconds = 0.1;
/// A paused clock is exact: every step by a frame is a jump.
constexpr double kToleratedSecondsAtRest = 0.0005;

constexpr double kMicrosecondsPerSecond = 1e6;
/// 285 years: what a damaged file states must not overflow.
constexpr double kLongestSeconds = 9e9;

qlonglong microseconds(double seconds) {
    const bool isUsable = seconds > 0;
    return isUsable ? std::llround(std::min(seconds, kLongestSeconds) * kMicrosecondsPerSecond) : 0;
}

double secondsAt(const PublishedState& state, HostTime now) {
    const NowPlayingInfo& info = *state.info;
    const std::chrono::duration<double> passed = now - state.time;
    return std::clamp(info.elapsedPlaybackTime + info.playbackRate * passed.count(), 0.0,
                      std::max(0.0, info.playbackDuration));
}

/// A damaged file can have megabytes of text, which each change of the metadata would send.
constexpr qsizetype kLongestText = 64 * 1024;

QString text(const std::string& utf8) {
    return QString::fromStdString(utf8).left(kLongestText);
}

void insertText(QVariantMap& metadata, const char* key, const std::optional<std::string>& value) {
    if (value) {
        metadata.insert(key, text(*value));
    }
}

void insertList(QVariantMap& metadata, const char* key, const std::optional<std::string>& value) {
    if (value) {
        metadata.insert(key, QStringList{text(*value)});
    }
}

QVariantMap metadataOf(const NowPlayingInfo& info, const QString& artUrl) {
    QVariantMap metadata{{"mpris:trackid", QVariant::fromValue(mprisTrackId(info))},
                         {"mpris:length", mprisLength(info)},
                         {"xesam:title", text(info.title)},
                         {"xesam:url", text(info.assetURL.absoluteString())}};
    if (!artUrl.isEmpty()) {
        metadata.insert("mpris:artUrl", artUrl);
    }
    insertList(metadata, "xesam:artist", info.artist);
    insertList(metadata, "xesam:composer", info.composer);
    insertText(metadata, "xesam:album", info.albumTitle);
    insertList(metadata, "xesam:genre", info.genre);
    insertText(metadata, "xesam:asText", info.lyrics);
    return metadata;
}

QString statusName(NowPlayingPlaybackState state) {
    switch (state) {
    case NowPlayingPlaybackState::playing:
        return "Playing";
    case NowPlayingPlaybackState::paused:
        return "Paused";
    case NowPlayingPlaybackState::stopped:
        break;
    }
    return "Stopped";
}

} // namespace

QDBusObjectPath mprisTrackId(const NowPlayingInfo& info) {
    QString path = "/org/zelvane/Player/track_";
    for (const char character : info.externalContentIdentifier) {
        // Paths of the bus allow no other characters.
        path += std::isalnum(static_cast<unsigned char>(character)) != 0 ? QChar(character) : '_';
    }
    return QDBusObjectPath(path);
}

qlonglong mprisLength(const NowPlayingInfo& info) {
    return microseconds(info.playbackDuration);
}

qlonglong mprisPositionAt(const PublishedState& state, HostTime now) {
    return state.info ? microseconds(secondsAt(state, now)) : 0;
}

bool mprisPositionDidJump(const PublishedState& old, const PublishedState& now) {
    if (!old.info || !now.info ||
        old.info->externalContentIdentifier != now.info->externalContentIdentifier) {
        return false;
    }
    const bool isAtRest = old.info->playbackRate == 0 && now.info->playbackRate == 0;
    const double distance = secondsAt(now, now.time) - secondsAt(old, now.time);
    return std::abs(distance) > (isAtRest ? kToleratedSecondsAtRest : kToleratedSeconds);
}

QVariantMap mprisPlayerProperties(const PublishedState& state, const QString& artUrl) {
    const auto can = [&](RemoteCommand command) { return state.enabledCommands.contains(command); };
    const NowPlayingInfo info = state.info.value_or(NowPlayingInfo());
    return {{"PlaybackStatus", statusName(state.playbackState)},
            {"LoopStatus", "None"},
            {"Shuffle", false},
            {"Rate", static_cast<double>(info.defaultPlaybackRate)},
            {"MinimumRate", kMprisMinimumRate},
            {"MaximumRate", kMprisMaximumRate},
            {"Volume", static_cast<double>(info.volume)},
            {"Metadata", state.info ? metadataOf(info, artUrl) : QVariantMap()},
            {"CanGoNext", false},
            {"CanGoPrevious", false},
            {"CanPlay", can(RemoteCommand::play)},
            {"CanPause", can(RemoteCommand::pause)},
            {"CanSeek", can(RemoteCommand::changePlaybackPosition)},
            {"CanControl", true}};
}

} // namespace zelvane

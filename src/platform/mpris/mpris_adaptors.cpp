// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/mpris/mpris_adaptors.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/mpris/mpris_properties.h"
#include "platform/mpris/mpris_service.h"

namespace zelvane {
namespace {

constexpr double kSecondsPerMicrosecond = 1e-6;

} // namespace

MprisRootAdaptor::MprisRootAdaptor(MprisService& service)
    : QDBusAbstractAdaptor(&service), service_(service) {}

QString MprisRootAdaptor::identity() {
    return QStringLiteral("Zelvane Player");
}

QString MprisRootAdaptor::desktopEntry() {
    return QStringLiteral("org.zelvane.Player");
}

bool MprisRootAdaptor::canSetFullScreen() const {
    return service_.program().canSetFullScreen();
}

bool MprisRootAdaptor::isFullScreen() const {
    return service_.program().isFullScreen();
}

void MprisRootAdaptor::setFullScreen(bool isFullScreen) {
    if (canSetFullScreen()) {
        service_.program().setFullScreen(isFullScreen);
    }
}

QStringList MprisRootAdaptor::uriSchemes() const {
    return service_.program().uriSchemes;
}

QStringList MprisRootAdaptor::mimeTypes() const {
    return service_.program().mimeTypes;
}

void MprisRootAdaptor::Raise() {
    service_.program().raise();
}

void MprisRootAdaptor::Quit() {
    service_.program().quit();
}

MprisPlayerAdaptor::MprisPlayerAdaptor(MprisService& service, QDBusConnection bus)
    : QDBusAbstractAdaptor(&service), service_(service), bus_(std::move(bus)) {}

QVariant MprisPlayerAdaptor::value(const char* name) const {
    return service_.playerProperties().value(name);
}

RemoteCommandHandlerStatus MprisPlayerAdaptor::perform(RemoteCommand command,
                                                       const RemoteCommandEvent& event) const {
    return service_.media().perform(command, event);
}

qlonglong MprisPlayerAdaptor::position() const {
    return service_.position();
}

void MprisPlayerAdaptor::setRate(double rate) {
    if (rate == 0) {
        Pause();
    } else if (rate > 0) {
        const double clamped = std::clamp(rate, kMprisMinimumRate, kMprisMaximumRate);
        perform(RemoteCommand::changePlaybackRate, {.playbackRate = static_cast<float>(clamped)});
    }
}

void MprisPlayerAdaptor::setVolume(double volume) {
    if (!std::isnan(volume)) {
        perform(RemoteCommand::changeVolume,
                {.volume = static_cast<float>(std::clamp(volume, 0.0, 1.0))});
    }
}

void MprisPlayerAdaptor::Pause() {
    perform(RemoteCommand::pause);
}

void MprisPlayerAdaptor::PlayPause(const QDBusMessage& message) {
    if (perform(RemoteCommand::togglePlayPause) != RemoteCommandHandlerStatus::success) {
        refuse(message, QStringLiteral("Nothing is open."));
    }
}

void MprisPlayerAdaptor::Stop() {
    perform(RemoteCommand::stop);
}

void MprisPlayerAdaptor::Play() {
    perform(RemoteCommand::play);
}

void MprisPlayerAdaptor::Seek(qlonglong Offset) {
    const double seconds = static_cast<double>(Offset) * kSecondsPerMicrosecond;
    perform(seconds < 0 ? RemoteCommand::skipBackward : RemoteCommand::skipForward,
            {.interval = std::abs(seconds)});
}

void MprisPlayerAdaptor::SetPosition(const QDBusObjectPath& TrackId, qlonglong Position) {
    const auto& info = service_.state().info;
    if (info && TrackId == mprisTrackId(*info) && Position >= 0 && Position <= mprisLength(*info)) {
        perform(RemoteCommand::changePlaybackPosition,
                {.positionTime = static_cast<double>(Position) * kSecondsPerMicrosecond});
    }
}

void MprisPlayerAdaptor::OpenUri(const QString& Uri, const QDBusMessage& message) {
    const URL url = URL::parse(Uri.toStdString());
    const QString scheme = QString::fromStdString(url.scheme());
    if (service_.program().uriSchemes.contains(scheme, Qt::CaseInsensitive)) {
        service_.program().openURL(url);
    } else {
        refuse(message, QStringLiteral("This kind of address cannot be opened."));
    }
}

void MprisPlayerAdaptor::refuse(const QDBusMessage& message, const QString& why) {
    message.setDelayedReply(true);
    bus_.send(message.createErrorReply(QDBusError::NotSupported, why));
}

} // namespace zelvane

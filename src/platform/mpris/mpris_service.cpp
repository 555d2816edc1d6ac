// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/mpris/mpris_service.h"

#include <utility>

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include "foundation/log.h"
#include "platform/mpris/mpris_adaptors.h"
#include "platform/mpris/mpris_properties.h"

namespace zelvane {
namespace {

const QString& objectPath() {
    static const QString path = QStringLiteral("/org/mpris/MediaPlayer2");
    return path;
}

const QString& busName() {
    static const QString name = QStringLiteral("org.mpris.MediaPlayer2.zelvane");
    return name;
}

/// Values of the bus's own interface.
constexpr uint kDoNotQueue = 4;
constexpr uint kIsPrimaryOwner = 1;

QDBusMessage callOfBus(const char* method) {
    return QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QString::fromLatin1(method));
}

} // namespace

MprisService::MprisService(const QDBusConnection& bus, std::shared_ptr<PublishedMedia> media,
                           MprisProgram program)
    : bus_(bus), media_(std::move(media)), program_(std::move(program)),
      artwork_(program_.cacheFolder, [this] { update(); }) {
    if (!bus_.isConnected()) {
        return;
    }
    // The parent owns both. NOLINTBEGIN(cppcoreguidelines-owning-memory)
    new MprisRootAdaptor(*this);
    playerAdaptor_ = new MprisPlayerAdaptor(*this, bus_);
    // NOLINTEND(cppcoreguidelines-owning-memory)
    update();
    media_->setDidChange([this] { update(); });
    // Before the name: a client that sees the name uses the object at once.
    bus_.registerObject(objectPath(), this, QDBusConnection::ExportAdaptors);
    requestName(busName(), true);
}

MprisService::~MprisService() {
    media_->setDidChange(nullptr);
    for (const QString& name : requestedNames_) {
        QDBusMessage release = callOfBus("ReleaseName");
        release << name;
        bus_.send(release);
    }
    bus_.unregisterObject(objectPath());
}

void MprisService::requestName(const QString& name, bool isFirst) {
    // Even if the answer has not come by then, the destructor releases the name.
    requestedNames_.append(name);
    QDBusMessage request = callOfBus("RequestName");
    request << name << kDoNotQueue;
    // The parent owns it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    auto* call = new QDBusPendingCallWatcher(bus_.asyncCall(request), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call, name, isFirst] {
        call->deleteLater();
        const QDBusPendingReply<uint> reply = *call;
        if (!reply.isError() && reply.value() == kIsPrimaryOwner) {
            return;
        }
        if (isFirst) {
            // Another process of this program has the name.
            const auto process = QCoreApplication::applicationPid();
            requestName(QStringLiteral("%1.instance%2").arg(name).arg(process), false);
        } else {
            logMessage("The player cannot be controlled by the desktop: {}.",
                       reply.isError() ? reply.error().message().toStdString()
                                       : "its name is taken");
        }
    });
}

qlonglong MprisService::position() const {
    return mprisPositionAt(state_, HostClock::system()->now());
}

void MprisService::update() {
    if (playerAdaptor_ == nullptr) {
        return;
    }
    const PublishedState old = std::exchange(state_, media_->state());
    artwork_.setArtwork(state_.info ? state_.info->artwork : nullptr);
    const QVariantMap root = currentRootProperties();
    announce(MprisRootAdaptor::kInterface, std::exchange(rootProperties_, root), root);
    const QVariantMap player = mprisPlayerProperties(state_, artwork_.url());
    announce(MprisPlayerAdaptor::kInterface, std::exchange(playerProperties_, player), player);
    if (mprisPositionDidJump(old, state_)) {
        emit playerAdaptor_->Seeked(position());
    }
}

QVariantMap MprisService::currentRootProperties() const {
    return {{"CanSetFullscreen", program_.canSetFullScreen()},
            {"Fullscreen", program_.isFullScreen()}};
}

void MprisService::announce(const QString& interface, const QVariantMap& old,
                            const QVariantMap& now) {
    QVariantMap changed;
    for (auto each = now.begin(); each != now.end(); ++each) {
        if (old.value(each.key()) != each.value()) {
            changed.insert(each.key(), each.value());
        }
    }
    // Nothing was announced before the object was on the bus.
    if (changed.isEmpty() || old.isEmpty()) {
        return;
    }
    QDBusMessage signal =
        QDBusMessage::createSignal(objectPath(), QStringLiteral("org.freedesktop.DBus.Properties"),
                                   QStringLiteral("PropertiesChanged"));
    signal << interface << changed << QStringList();
    bus_.send(signal);
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>

#include <QDBusConnection>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include "foundation/url.h"
#include "platform/mpris/artwork_file.h"
#include "platform/mpris/published_media.h"

namespace zelvane {

class MprisPlayerAdaptor;
class MprisRootAdaptor;

/// What the bus can ask of the program besides playing. Main thread.
struct MprisProgram {
    std::function<void()> raise = [] {};
    std::function<void()> quit = [] {};
    std::function<void(const URL&)> openURL = [](const URL&) {};
    /// About the window of the presented player.
    std::function<bool()> canSetFullScreen = [] { return false; };
    std::function<bool()> isFullScreen = [] { return false; };
    std::function<void(bool)> setFullScreen = [](bool) {};
    QStringList uriSchemes = {"file"};
    QStringList mimeTypes = {};
    /// Takes the files of artwork.
    QString cacheFolder = {};
};

/// Shows the published player on the session's bus by MPRIS 2.2, and passes the calls of the bus to
/// it. It never waits for the bus. One object serves all windows. Main thread.
class MprisService final : public QObject {
  public:
    /// On a connection that is not connected it does nothing.
    MprisService(const QDBusConnection& bus, std::shared_ptr<PublishedMedia> media,
                 MprisProgram program);
    ~MprisService() override;

    /// Announces what has changed. To be called when a window enters or leaves full screen.
    void update();

    const MprisProgram& program() const { return program_; }
    const PublishedMedia& media() const { return *media_; }
    const PublishedState& state() const { return state_; }
    /// As they were announced last.
    const QVariantMap& playerProperties() const { return playerProperties_; }
    qlonglong position() const;

  private:
    void requestName(const QString& name, bool isFirst);
    void announce(const QString& interface, const QVariantMap& old, const QVariantMap& now);
    QVariantMap currentRootProperties() const;

    QDBusConnection bus_;
    const std::shared_ptr<PublishedMedia> media_;
    const MprisProgram program_;
    ArtworkFile artwork_;
    QStringList requestedNames_;
    PublishedState state_;
    QVariantMap rootProperties_;
    QVariantMap playerProperties_;
    /// The service owns it as a child.
    MprisPlayerAdaptor* playerAdaptor_ = nullptr;
};

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include <QPointer>

#include "media_player/now_playing/now_playing_manager.h"
#include "platform/mpris/mpris_service.h"
#include "platform/session/desktop_session.h"

namespace zelvane {

class DocumentController;
class MediaPlayerWindow;

/// Connects the players and windows of the program with the user's session: media keys and remote
/// controls, the sleep of display and machine, the lock of the screen. Main thread.
class SessionIntegration final {
  public:
    /// Players that are made from now on use the session.
    SessionIntegration();
    ~SessionIntegration();
    SessionIntegration(const SessionIntegration&) = delete;
    SessionIntegration& operator=(const SessionIntegration&) = delete;

    /// Connects to the message buses. The documents may be destroyed before this.
    void start(DocumentController& documents);

  private:
    MprisProgram program();
    /// The window of the presented player; may be null.
    MediaPlayerWindow* presentedWindow() const;

    const std::shared_ptr<DesktopSession> desktopSession_;
    const std::shared_ptr<PublishedMedia> publishedMedia_;
    const std::shared_ptr<NowPlayingManager> nowPlayingManager_;
    QPointer<DocumentController> documents_;
    std::unique_ptr<MprisService> mprisService_;
};

} // namespace zelvane

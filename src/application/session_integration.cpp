// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/session_integration.h"

#include <QApplication>
#include <QStandardPaths>
#include <QWindow>

#include "application/document_controller.h"
#include "foundation/window_restoration_observer.h"
#include "player_assembly/player_assembly.h"
#include "player_window/window/media_player_window.h"

namespace zelvane {
namespace {

QStringList uriSchemes() {
    return {"file", "http", "https"};
}

QStringList mimeTypes() {
    return {"video/mp4",       "video/x-matroska", "video/webm",       "video/quicktime",
            "video/mpeg",      "video/mp2t",       "video/x-msvideo",  "video/x-ms-wmv",
            "video/x-flv",     "video/ogg",        "video/3gpp",       "video/dv",
            "application/mxf", "audio/mpeg",       "audio/mp4",        "audio/aac",
            "audio/flac",      "audio/ogg",        "audio/x-opus+ogg", "audio/x-vorbis+ogg",
            "audio/x-wav",     "audio/x-aiff",     "audio/x-matroska", "audio/x-ms-wma",
            "audio/ac3",       "audio/vnd.dts"};
}

void raise(MediaPlayerWindow& window) {
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.raise();
    window.activateWindow();
}

} // namespace

SessionIntegration::SessionIntegration()
    : desktopSession_(DesktopSession::create(std::make_shared<NotificationCenter>())),
      publishedMedia_(std::make_shared<PublishedMedia>()),
      nowPlayingManager_(
          NowPlayingManager::create(publishedMedia_, publishedMedia_, [](dispatch::Task handler) {
              WindowRestorationObserver::shared().performAfterRestoration(std::move(handler));
          })) {
    SessionServices::shared() = {.powerManagement = desktopSession_->powerManagement(),
                                 .processInfo = desktopSession_->processInfo(),
                                 .nowPlaying = nowPlayingManager_,
                                 .workspaceNotificationCenter =
                                     desktopSession_->workspaceNotificationCenter()};
}

SessionIntegration::~SessionIntegration() {
    SessionServices::shared() = {};
}

void SessionIntegration::start(DocumentController& documents) {
    documents_ = &documents;
    const QDBusConnection bus = QDBusConnection::sessionBus();
    desktopSession_->start(bus);
    mprisService_ = std::make_unique<MprisService>(bus, publishedMedia_, program());
    // A new window has none when its player is published first.
    QObject::connect(qApp, &QGuiApplication::focusWindowChanged, mprisService_.get(),
                     &MprisService::update);
}

MprisProgram SessionIntegration::program() {
    MprisProgram program;
    program.raise = [this] {
        if (auto* window = presentedWindow()) {
            raise(*window);
        }
    };
    program.quit = [] {
        QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
    };
    program.openURL = [this](const URL& url) {
        if (documents_) {
            documents_->open({url});
        }
    };
    program.canSetFullScreen = [this] {
        const auto* window = presentedWindow();
        return window != nullptr && window->isResizable();
    };
    program.isFullScreen = [this] {
        const auto* window = presentedWindow();
        return window != nullptr && window->isFullScreen();
    };
    program.setFullScreen = [this](bool isFullScreen) {
        auto* window = presentedWindow();
        if (window != nullptr && window->isFullScreen() != isFullScreen) {
            window->toggleFullScreen();
        }
    };
    program.uriSchemes = uriSchemes();
    program.mimeTypes = mimeTypes();
    program.cacheFolder = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    return program;
}

MediaPlayerWindow* SessionIntegration::presentedWindow() const {
    const auto player = nowPlayingManager_->currentMediaPlayer();
    auto* window = player && documents_ ? documents_->windowOf(*player) : nullptr;
    if (window != nullptr && mprisService_) {
        QObject::connect(window, &MediaPlayerWindow::fullScreenDidChange, mprisService_.get(),
                         &MprisService::update, Qt::UniqueConnection);
    }
    return window;
}

} // namespace zelvane

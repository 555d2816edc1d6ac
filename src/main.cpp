// SPDX-License-Identifier: GPL-3.0-or-later
//
// The desktop player: zelvane-player [FILE]...

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include <QApplication>

#include "application/document_controller.h"
#include "application/qt_main_queue.h"
#include "application/session_integration.h"
#include "application/settings_file_watcher.h"
#include "application/settings_store.h"
#include "core_media/ffmpeg_log.h"
#include "core_media/ffmpeg_memory.h"
#include "foundation/dispatch.h"
#include "foundation/heap.h"
#include "foundation/user_defaults.h"
#include "media_player/decoders/subtitles/caption_appearance.h"
#include "media_player/decoders/subtitles/subtitle_text_style_manager.h"
#include "player_window/controls/popup_style.h"
#include "player_window/desktop/desktop_settings.h"
#include "player_window/video_widget.h"

namespace zelvane {
namespace {

std::vector<URL> requestedFiles(const QStringList& arguments) {
    const QStringList names = arguments.mid(1);
    std::vector<URL> urls;
    urls.reserve(static_cast<std::size_t>(names.size()));
    for (const auto& name : names) {
        const auto text = name.toStdString();
        const bool hasScheme = text.find("://") != std::string::npos;
        urls.push_back(hasScheme ? URL::parse(text) : URL::fromPath(text));
    }
    return urls;
}

void registerDefaults() {
    UserDefaults::shared().registerDefaults(
        {{std::string(kUseUserSpecifiedSubtitleTextStyleKey), false},
         {"ZLVNDefaultPlaybackRate", std::int64_t{1}},
         {"ZLVNEnterFullScreenAutomaticallyOnOpen", false},
         {"ZLVNJumpIntervalInSeconds", 15.0},
         {"ZLVNPlayAutomaticallyOnOpen", true},
         {"ZLVNShowEndTimeInsteadOfRemainingTime", false}});
}

/// Runs the tasks of the main queue that background work still needs after the event loop.
void drainMainQueue() {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    while (!dispatch::waitForQuiescence(std::chrono::milliseconds(5)) &&
           std::chrono::steady_clock::now() < deadline) {
        QCoreApplication::processEvents();
    }
}

int run() {
    SessionIntegration session;
    auto documents = std::make_unique<DocumentController>(
        [] { QCoreApplication::quit(); },
        std::make_unique<SessionStore>(SessionFile::defaultPath()));
    const auto start = [&documents, &session, urls = requestedFiles(QApplication::arguments())] {
        const bool restores = documents->restoreWindows();
        if (!urls.empty()) {
            documents->open(urls);
        } else if (!restores) {
            documents->showOpenPanel();
        }
        // The buses are not needed for the first picture.
        session.start(*documents);
    };
    // A file dialog is the desktop's own only when the event loop runs.
    QMetaObject::invokeMethod(qApp, start, Qt::QueuedConnection);
    QApplication::exec();
    const int status = documents->didFail() ? EXIT_FAILURE : EXIT_SUCCESS;
    documents = nullptr;
    drainMainQueue();
    return status;
}

} // namespace
} // namespace zelvane

int main(int argc, char** argv) {
    zelvane::keepHeapSmall();
    zelvane::quietFFmpegLog();
    zelvane::limitFFmpegAllocations();
    zelvane::prepareApplication();
    const QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("zelvane-player"));
    QApplication::setApplicationDisplayName(QStringLiteral("Zelvane Player"));
    QApplication::setQuitOnLastWindowClosed(false);
    zelvane::applyPopupStyle();
    zelvane::dispatch::setMainQueue(std::make_shared<zelvane::QtMainQueue>());
    zelvane::UserDefaults::shared().setStore(std::make_unique<zelvane::SettingsStore>());
    zelvane::registerDefaults();
    // The desktop answers while the file is opened.
    zelvane::DesktopSettings::shared();
    const zelvane::SettingsFileWatcher watcher({
        [] { zelvane::CaptionAppearance::shared().settingsDidChange(); },
        [] { zelvane::SubtitleTextStyleManager::shared()->useOfUserSpecifiedStyleDidChange(); },
    });
    return zelvane::run();
}

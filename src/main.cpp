// SPDX-License-Identifier: GPL-3.0-or-later
//
// The desktop player: zelvane-player [OPTION]... [FILE|URL]...

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>

#include <QApplication>

#include "application/command_line.h"
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

int print(const CommandLine::Answer& answer) {
    const bool isError = answer.status == ExitStatus::wrongUsage;
    std::fputs(answer.text.c_str(), isError ? stderr : stdout);
    return static_cast<int>(answer.status);
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

int run(const std::vector<URL>& files) {
    SessionIntegration session;
    auto documents = std::make_unique<DocumentController>(
        [] { QCoreApplication::quit(); },
        std::make_unique<SessionStore>(SessionFile::defaultPath()));
    const auto start = [&documents, &session, &files] {
        const bool restores = documents->restoreWindows();
        if (!files.empty()) {
            documents->open(files);
        } else if (!restores) {
            documents->showOpenPanel();
        }
        // The buses are not needed for the first picture.
        session.start(*documents);
    };
    // A file dialog is the desktop's own only when the event loop runs.
    QMetaObject::invokeMethod(qApp, start, Qt::QueuedConnection);
    QApplication::exec();
    const auto status = documents->didFail() ? ExitStatus::notOpened : ExitStatus::success;
    documents = nullptr;
    drainMainQueue();
    return static_cast<int>(status);
}

} // namespace
} // namespace zelvane

int main(int argc, char** argv) {
    const auto commandLine = zelvane::parseCommandLine({argv, argv + argc});
    if (commandLine.answer) {
        return zelvane::print(*commandLine.answer);
    }
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
    return zelvane::run(commandLine.files);
}

// SPDX-License-Identifier: GPL-3.0-or-later
//
// The desktop player: zelvane-player [OPTION]... [FILE|URL]...

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <QApplication>
#include <QDBusConnection>

#include "application/app_delegate.h"
#include "application/command_line.h"
#include "application/event_loop_latency.h"
#include "application/qt_main_queue.h"
#include "application/session_integration.h"
#include "application/session_store.h"
#include "application/settings_file_watcher.h"
#include "application/settings_store.h"
#include "core_media/ffmpeg_log.h"
#include "core_media/ffmpeg_memory.h"
#include "foundation/dispatch.h"
#include "foundation/heap.h"
#include "foundation/user_defaults.h"
#include "media_player/decoders/subtitles/caption_appearance.h"
#include "media_player/decoders/subtitles/subtitle_text_style_manager.h"
#include "platform/program_service/program_service.h"
#include "platform/program_service/session_bus_probe.h"
#include "player_window/controls/popup_style.h"
#include "player_window/desktop/color_scheme.h"
#include "player_window/video_widget.h"
#include "preferences/preferences.h"

namespace zelvane {
namespace {

int print(const CommandLine::Answer& answer) {
    const bool isError = answer.status == ExitStatus::wrongUsage;
    std::fputs(answer.text.c_str(), isError ? stderr : stdout);
    return static_cast<int>(answer.status);
}

/// Runs the tasks of the main queue that background work still needs after the event loop.
void drainMainQueue() {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    while (!dispatch::waitForQuiescence(std::chrono::milliseconds(5)) &&
           std::chrono::steady_clock::now() < deadline) {
        QCoreApplication::processEvents();
    }
}

ProgramRequests requestsTo(AppDelegate& delegate) {
    ProgramRequests requests;
    requests.activate = [&delegate] { delegate.activate(); };
    requests.open = [&delegate](const std::vector<URL>& files) { delegate.open(files); };
    requests.activateAction = [&delegate](const std::string& name) {
        return delegate.activateAction(name);
    };
    return requests;
}

int run(const std::vector<URL>& files, std::unique_ptr<ProgramService> service) {
    SessionIntegration session;
    std::unique_ptr<PreferencesWindowController> preferences;
    const auto showPreferences = [&preferences] {
        if (!preferences) {
            preferences = makePreferencesWindow(UserDefaults::shared());
        }
        preferences->showWindow();
    };
    auto delegate = std::make_unique<AppDelegate>(
        std::make_unique<SessionStore>(SessionFile::defaultPath()), showPreferences);
    service->setRequests(requestsTo(*delegate));
    const auto start = [&delegate, &session, &files] {
        delegate->applicationDidFinishLaunching(files);
        // The buses are not needed for the first picture.
        session.start(delegate->documents());
    };
    // A file dialog is the desktop's own only when the event loop runs.
    QMetaObject::invokeMethod(qApp, start, Qt::QueuedConnection);
    auto latency = EventLoopLatency::createIfRequested();
    QApplication::exec();
    latency = nullptr;
    // A process that starts now must not leave its files to this one.
    service = nullptr;
    const bool didFail = delegate->documents().didFail();
    delegate = nullptr;
    drainMainQueue();
    return static_cast<int>(didFail ? ExitStatus::notOpened : ExitStatus::success);
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
    zelvane::avoidHungSessionBus();
    zelvane::prepareApplication();
    // The application object removes them from the environment.
    const QVariantMap tokens = zelvane::activationTokens();
    const QApplication application(argc, argv);
    // The bus answers while the rest is prepared.
    auto service = std::make_unique<zelvane::ProgramService>(QDBusConnection::sessionBus());
    QApplication::setApplicationName(QStringLiteral("zelvane-player"));
    QApplication::setApplicationDisplayName(QStringLiteral("Zelvane Player"));
    QApplication::setQuitOnLastWindowClosed(false);
    zelvane::applyPopupStyle();
    zelvane::dispatch::setMainQueue(std::make_shared<zelvane::QtMainQueue>());
    zelvane::UserDefaults::shared().setStore(std::make_unique<zelvane::SettingsStore>());
    zelvane::AppDelegate::applicationWillFinishLaunching();
    // The desktop answers while the file is opened.
    zelvane::followColorScheme();
    if (service->isServedByOther(commandLine.files, tokens)) {
        return static_cast<int>(zelvane::ExitStatus::success);
    }
    const zelvane::SettingsFileWatcher watcher({
        [] { zelvane::CaptionAppearance::shared().settingsDidChange(); },
        [] { zelvane::SubtitleTextStyleManager::shared()->useOfUserSpecifiedStyleDidChange(); },
        [] { zelvane::UserDefaults::shared().storeDidChange(); },
    });
    return zelvane::run(commandLine.files, std::move(service));
}

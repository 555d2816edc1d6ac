// SPDX-License-Identifier: GPL-3.0-or-later
//
// The desktop player: zelvane-player [FILE]...

#include <chrono>
#include <cstdlib>
#include <memory>
#include <vector>

#include <QApplication>
#include <QFileDialog>

#include "application/media_player_document.h"
#include "application/qt_main_queue.h"
#include "application/settings_file_watcher.h"
#include "application/settings_store.h"
#include "core_media/ffmpeg_log.h"
#include "core_media/ffmpeg_memory.h"
#include "foundation/dispatch.h"
#include "foundation/heap.h"
#include "foundation/user_defaults.h"
#include "media_player/decoders/subtitles/caption_appearance.h"
#include "media_player/decoders/subtitles/subtitle_text_style_manager.h"
#include "player_window/video_widget.h"

namespace zelvane {
namespace {

std::vector<URL> requestedFiles(const QStringList& arguments) {
    QStringList names = arguments.mid(1);
    if (names.isEmpty()) {
        names = QFileDialog::getOpenFileNames(nullptr, QStringLiteral("Open"));
    }
    std::vector<URL> urls;
    urls.reserve(static_cast<std::size_t>(names.size()));
    for (const auto& name : names) {
        const auto text = name.toStdString();
        const bool hasScheme = text.find("://") != std::string::npos;
        urls.push_back(hasScheme ? URL::parse(text) : URL::fromPath(text));
    }
    return urls;
}

/// What a person who has set nothing gets.
void registerDefaults() {
    UserDefaults::shared().registerDefaults(
        {{std::string(kUseUserSpecifiedSubtitleTextStyleKey), false}});
}

/// Lets work that still needs the main queue come to its end after the event loop has.
void drainMainQueue() {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    while (!dispatch::waitForQuiescence(std::chrono::milliseconds(5)) &&
           std::chrono::steady_clock::now() < deadline) {
        QCoreApplication::processEvents();
    }
}

int run() {
    const auto urls = requestedFiles(QApplication::arguments());
    std::vector<std::shared_ptr<MediaPlayerDocument>> documents;
    documents.reserve(urls.size());
    auto open = urls.size();
    int status = EXIT_SUCCESS;
    const auto didClose = [&](bool didFail) {
        if (didFail) {
            status = EXIT_FAILURE;
        }
        if (--open == 0) {
            QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
        }
    };
    for (const auto& url : urls) {
        documents.push_back(MediaPlayerDocument::open(url, didClose));
    }
    if (!urls.empty()) {
        QApplication::exec();
    }
    documents.clear();
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
    zelvane::dispatch::setMainQueue(std::make_shared<zelvane::QtMainQueue>());
    zelvane::UserDefaults::shared().setStore(std::make_unique<zelvane::SettingsStore>());
    zelvane::registerDefaults();
    const zelvane::SettingsFileWatcher watcher({
        [] { zelvane::CaptionAppearance::shared().settingsDidChange(); },
        [] { zelvane::SubtitleTextStyleManager::shared()->useOfUserSpecifiedStyleDidChange(); },
    });
    return zelvane::run();
}

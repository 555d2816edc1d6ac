// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/app_delegate.h"

#include <chrono>
#include <cstdint>
#include <utility>

#include <QApplication>
#include <QDialog>
#include <QEvent>

#include "application/about_window.h"
#include "application/default_settings.h"
#include "foundation/timebase_workaround.h"
#include "foundation/user_defaults.h"
#include "foundation/window_restoration_observer.h"
#include "player_window/start/start_window.h"
#include "player_window/window/media_player_window.h"

namespace zelvane {
namespace {

constexpr std::string_view kDefaultPlaybackRateKey = "ZLVNDefaultPlaybackRate";
/// Of the start window in menus. Documents are numbered from 1.
constexpr std::int64_t kStartWindowNumber = 0;

} // namespace

AppDelegate::AppDelegate(std::unique_ptr<SessionStore> session,
                         std::function<void()> showPreferences)
    : showPreferences_(std::move(showPreferences)), recentFiles_(RecentFiles::defaultPath()),
      documents_([this] { didCloseLast(); }, std::move(session)) {
    documents_.setHandlers(documentHandlers());
    connect(&recentFiles_, &RecentFiles::didChange, this, [this] {
        if (startWindow_) {
            startWindow_->setRecentFiles(recentFiles_.files());
        }
    });
    qApp->installEventFilter(this);
}

AppDelegate::~AppDelegate() {
    // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): it has no parent
    delete aboutWindow_.data();
}

DocumentController::Handlers AppDelegate::documentHandlers() {
    DocumentController::Handlers handlers;
    handlers.onShown = [this](const auto& newFile) { didShow(newFile); };
    handlers.openUntitledFile = [this] { applicationOpenUntitledFile(); };
    handlers.openPanelParent = [this]() -> QWidget* {
        return isStartWindowShown() ? &startWindow_->window() : nullptr;
    };
    handlers.perform = [this](const MenuCommand& command) { perform(command); };
    handlers.menuState = [this] { return menuState(); };
    return handlers;
}

void AppDelegate::applicationWillFinishLaunching() {
    installTimebaseWorkaround();
    registerDefaultSettings(UserDefaults::shared());
    // It must exist before windows are restored.
    WindowRestorationObserver::shared();
}

void AppDelegate::applicationDidFinishLaunching(const std::vector<URL>& files) {
    const bool restores = documents_.restoreWindows();
    if (!files.empty()) {
        documents_.open(files);
    } else if (!restores) {
        applicationOpenUntitledFile();
        return;
    }
    recentFiles_.reload();
}

void AppDelegate::applicationOpenUntitledFile() {
    showStartWindow();
    documents_.showOpenPanel();
}

void AppDelegate::open(const std::vector<URL>& files) {
    documents_.open(files);
}

void AppDelegate::activate() {
    if (!documents_.raiseWindow() && startWindow_) {
        raiseWindow(kStartWindowNumber);
    }
}

bool AppDelegate::activateAction(const std::string& name) {
    if (name == "open") {
        return perform(PlayerAction::openFile);
    }
    if (name == "preferences") {
        return perform(PlayerAction::showPreferences);
    }
    return name == "quit" && perform(PlayerAction::quit);
}

void AppDelegate::perform(const MenuCommand& command) {
    if (const auto* action = std::get_if<PlayerAction>(&command)) {
        perform(*action);
    } else if (const auto* recent = std::get_if<RecentFileChoice>(&command)) {
        open({recent->url});
    } else if (const auto* window = std::get_if<WindowChoice>(&command)) {
        raiseWindow(window->number);
    }
}

bool AppDelegate::perform(PlayerAction action) {
    switch (action) {
    case PlayerAction::openFile:
        documents_.showOpenPanel();
        return true;
    case PlayerAction::clearRecentFiles:
        recentFiles_.clear();
        return true;
    case PlayerAction::showPreferences:
        if (showPreferences_) {
            showPreferences_();
        }
        return static_cast<bool>(showPreferences_);
    case PlayerAction::showAbout:
        showAbout();
        return true;
    case PlayerAction::quit:
        // A call from the bus is answered first.
        QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
        return true;
    default:
        return false;
    }
}

ApplicationMenuState AppDelegate::menuState() const {
    ApplicationMenuState state;
    state.recentFiles = recentFiles_.files();
    state.windows = documents_.windows();
    if (isStartWindowShown()) {
        const auto& window = startWindow_->window();
        state.windows.push_back(
            {kStartWindowNumber, window.windowTitle(), window.isActiveWindow()});
    }
    state.hasPreferences = static_cast<bool>(showPreferences_);
    state.defaultRate =
        static_cast<float>(UserDefaults::shared().doubleForKey(kDefaultPlaybackRateKey));
    return state;
}

bool AppDelegate::isStartWindowShown() const {
    return startWindow_ && startWindow_->window().isVisible();
}

void AppDelegate::showStartWindow() {
    returnsToStartWindow_ = true;
    if (isStartWindowShown()) {
        return;
    }
    startWindow_ = std::make_unique<StartWindow>([this] { return menuState(); });
    StartWindow* window = startWindow_.get();
    connect(window, &StartWindow::commandRequested, this,
            [this](const MenuCommand& command) { perform(command); });
    connect(window, &StartWindow::filesChosen, this, &AppDelegate::open);
    connect(window, &StartWindow::removeRequested, this,
            [this](const URL& file) { recentFiles_.remove(file); });
    connect(window, &StartWindow::closed, this, &AppDelegate::closeStartWindow,
            Qt::QueuedConnection);
    constexpr std::chrono::milliseconds kMostWait(50);
    recentFiles_.reloadWithin(kMostWait);
    window->setRecentFiles(recentFiles_.files());
    window->show();
}

void AppDelegate::closeStartWindow() {
    returnsToStartWindow_ = false;
    startWindow_ = nullptr;
    // A file that is being loaded has no window yet.
    if (documents_.documentCount() == 0) {
        QCoreApplication::quit();
    }
}

void AppDelegate::raiseWindow(std::int64_t number) {
    if (number != kStartWindowNumber) {
        documents_.raiseWindow(number);
    } else if (isStartWindowShown()) {
        auto& window = startWindow_->window();
        window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
        window.raise();
        window.activateWindow();
    }
}

void AppDelegate::showAbout() {
    if (!aboutWindow_) {
        aboutWindow_ = makeAboutWindow();
    }
    aboutWindow_->show();
    aboutWindow_->raise();
    aboutWindow_->activateWindow();
}

void AppDelegate::didShow(const std::optional<URL>& newFile) {
    startWindow_ = nullptr;
    if (newFile) {
        recentFiles_.add(*newFile);
    }
}

void AppDelegate::didCloseLast() {
    if (isQuitting_ || !returnsToStartWindow_) {
        QCoreApplication::quit();
    } else {
        showStartWindow();
    }
}

bool AppDelegate::eventFilter(QObject* /*watched*/, QEvent* event) {
    isQuitting_ = isQuitting_ || event->type() == QEvent::Quit;
    return false;
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/document_controller.h"

#include <algorithm>
#include <utility>

#include <QApplication>
#include <QEvent>
#include <QWindow>

#include <fmt/format.h>

#include "application/command_line.h"
#include "application/restoration_error.h"
#include "foundation/window_restoration_observer.h"
#include "player_window/error_alert.h"
#include "player_window/window/media_player_window.h"

namespace zelvane {

DocumentController::DocumentController(std::function<void()> onLastClosed,
                                       std::unique_ptr<SessionStore> session)
    : onLastClosed_(std::move(onLastClosed)), session_(std::move(session)) {
    qApp->installEventFilter(this);
    connect(qApp, &QGuiApplication::focusWindowChanged, this, &DocumentController::didFocus);
}

DocumentController::~DocumentController() = default;

void DocumentController::open(const std::vector<URL>& urls) {
    for (const URL& url : urls) {
        openOne(url);
    }
    openPanel_.cancel();
}

template <class... Arguments>
std::function<void(Arguments...)>
DocumentController::calling(void (DocumentController::*method)(Arguments...)) {
    return [this, method, lifetime = std::weak_ptr(lifetime_)](Arguments... arguments) {
        if (!lifetime.expired()) {
            (this->*method)(arguments...);
        }
    };
}

MediaPlayerDocument::Handlers DocumentController::handlersOf(Number number) {
    MediaPlayerDocument::Handlers handlers;
    handlers.onClosed = [number, onClosed = calling(&DocumentController::didClose)](bool didFail) {
        onClosed(number, didFail);
    };
    handlers.onOpen = calling(&DocumentController::showOpenPanel);
    handlers.onOpenMedia = calling(&DocumentController::open);
    handlers.perform = handlers_.perform;
    handlers.menuState = handlers_.menuState;
    handlers.onInvalidateRestorableState =
        [number, invalidate = calling(&DocumentController::didInvalidate)] { invalidate(number); };
    return handlers;
}

void DocumentController::openOne(const URL& url) {
    const Number number = ++lastNumber_;
    auto handlers = handlersOf(number);
    handlers.onFailedToOpen = [url](const std::exception& error) {
        fmt::print(stderr, "{}", openFailureLine(url, error));
    };
    add({number, MediaPlayerDocument::open(url, std::move(handlers)), url});
}

bool DocumentController::restoreWindows() {
    if (!session_ || session_->storedWindows().empty()) {
        return false;
    }
    WindowRestorationObserver::shared().applicationWillRestoreWindows();
    restoringCount_ = session_->storedWindows().size();
    for (const auto& state : session_->storedWindows()) {
        restoreOne(state);
    }
    return true;
}

void DocumentController::restoreOne(const StateCoder& state) {
    const Number number = ++lastNumber_;
    const auto bookmark = FileBookmark::decode(state);
    auto handlers = handlersOf(number);
    handlers.onRestored = [name = bookmark ? bookmark->url().lastPathComponent() : "?",
                           onRestored = calling(&DocumentController::didRestore)](bool isShown) {
        onRestored(name, isShown);
    };
    add({number, MediaPlayerDocument::restore(state, std::move(handlers)), std::nullopt});
    // Until the window is there, the session has its old state.
    didInvalidate(number);
}

void DocumentController::add(OpenDocument open) {
    if (session_) {
        session_->add(open.number, [weak = std::weak_ptr(open.document)] {
            const auto document = weak.lock();
            return document ? document->restorableState() : std::nullopt;
        });
    }
    documents_.push_back(std::move(open));
}

void DocumentController::noteShown(Number number) {
    const auto open = std::ranges::find(documents_, number, &OpenDocument::number);
    if (open == documents_.end() || open->document->window() == nullptr ||
        std::exchange(open->isShown, true)) {
        return;
    }
    if (handlers_.onShown) {
        handlers_.onShown(open->newFile);
    }
}

void DocumentController::didInvalidate(Number number) {
    noteShown(number);
    if (session_) {
        session_->invalidate(number);
    }
}

void DocumentController::didClose(Number number, bool didFail) {
    didFail_ = didFail_ || didFail;
    if (session_) {
        session_->remove(number);
    }
    // Its window, which reports this, is still in use.
    const auto remove = [this, number] {
        std::erase_if(documents_, [number](const auto& open) { return open.number == number; });
        checkForLast();
    };
    QMetaObject::invokeMethod(this, remove, Qt::QueuedConnection);
}

void DocumentController::didRestore(const std::string& fileName, bool isShown) {
    if (!isShown) {
        namesNotRestored_.push_back(fileName);
    }
    if (--restoringCount_ == 0) {
        didRestoreAll();
    }
}

void DocumentController::didRestoreAll() {
    showInOrder();
    WindowRestorationObserver::shared().applicationDidFinishRestoringWindows();
    if (!namesNotRestored_.empty()) {
        isAlertShown_ = true;
        std::ranges::sort(namesNotRestored_);
        showErrorAlert(restorationError(std::exchange(namesNotRestored_, {})), QString(), nullptr,
                       calling(&DocumentController::didDismissAlert));
    }
}

void DocumentController::showInOrder() const {
    MediaPlayerWindow* front = nullptr;
    for (const auto& open : documents_) {
        if (auto* window = open.document->window()) {
            window->raise();
            front = window;
        }
    }
    if (front != nullptr) {
        front->activateWindow();
    }
}

void DocumentController::didDismissAlert() {
    // After the documents that the alert is about are removed.
    const auto goOn = [this] {
        isAlertShown_ = false;
        if (!documents_.empty()) {
            return;
        }
        if (handlers_.openUntitledFile) {
            handlers_.openUntitledFile();
        } else {
            showOpenPanel();
        }
    };
    QMetaObject::invokeMethod(this, goOn, Qt::QueuedConnection);
}

void DocumentController::didFocus(const QWindow* window) {
    for (const auto& open : documents_) {
        const auto* known = open.document->window();
        if (known == nullptr || known->windowHandle() != window) {
            continue;
        }
        front_ = open.number;
        // Windows that are restored come in any order, and each may get the focus.
        if (session_ && restoringCount_ == 0) {
            session_->moveToFront(open.number);
        }
    }
}

bool DocumentController::eventFilter(QObject* /*watched*/, QEvent* event) {
    if (session_ && event->type() == QEvent::Quit) {
        session_->finish();
    }
    return false;
}

MediaPlayerWindow* DocumentController::windowOf(const MediaPlayer& player) const {
    for (const auto& open : documents_) {
        if (auto* window = open.document->windowOf(player)) {
            return window;
        }
    }
    return nullptr;
}

std::vector<ApplicationMenuState::OpenWindow> DocumentController::windows() const {
    std::vector<ApplicationMenuState::OpenWindow> windows;
    for (const auto& open : documents_) {
        if (const auto* window = open.document->window()) {
            windows.push_back({open.number, window->windowTitle(), open.number == front_});
        }
    }
    return windows;
}

bool DocumentController::raiseWindow(std::optional<std::int64_t> number) const {
    MediaPlayerWindow* found = nullptr;
    const auto wanted = number ? number : front_;
    for (const auto& open : documents_) {
        auto* window = open.document->window();
        const bool isBetter = found == nullptr && !number;
        if (window != nullptr && (isBetter || open.number == wanted)) {
            found = window;
        }
    }
    if (found != nullptr) {
        found->setWindowState(found->windowState() & ~Qt::WindowMinimized);
        found->raise();
        found->activateWindow();
    }
    return found != nullptr;
}

void DocumentController::showOpenPanel() {
    if (!openPanel_.isShown()) {
        openPanel_.show(handlers_.openPanelParent ? handlers_.openPanelParent() : nullptr,
                        [this](const auto& files) { didFinishOpenPanel(files); });
    }
}

void DocumentController::didFinishOpenPanel(const std::vector<URL>& files) {
    for (const URL& file : files) {
        openOne(file);
    }
    checkForLast();
}

void DocumentController::checkForLast() const {
    if (documents_.empty() && !openPanel_.isShown() && !isAlertShown_) {
        onLastClosed_();
    }
}

} // namespace zelvane

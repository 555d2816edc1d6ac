// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/document_controller.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include <QApplication>
#include <QEvent>
#include <QWindow>

#include <fmt/format.h>

#include "application/command_line.h"
#include "application/restoration_count.h"
#include "application/restoration_error.h"
#include "foundation/window_restoration_observer.h"
#include "player_window/error_alert.h"
#include "player_window/window/media_player_window.h"

namespace zelvane {
namespace {

/// A file that is slow to open must not keep back the windows after it.
constexpr std::chrono::milliseconds kMaximumTurn{1000};
constexpr std::chrono::milliseconds kMaximumTurnAlone{5000};
/// Decoders of more files would keep the processors from the main thread.
constexpr std::size_t kMaximumAtOnce = 2;

std::string fileNameOf(const StateCoder& state) {
    const auto bookmark = FileBookmark::decode(state);
    return bookmark ? bookmark->url().lastPathComponent() : "?";
}

StateCoder beginningRestoration(StateCoder state) {
    RestorationCount::decode(state).next().encode(state);
    return state;
}

} // namespace

DocumentController::DocumentController(std::function<void()> onLastClosed,
                                       std::unique_ptr<SessionStore> session)
    : onLastClosed_(std::move(onLastClosed)), session_(std::move(session)) {
    qApp->installEventFilter(this);
    restorationTimer_.setSingleShot(true);
    connect(&restorationTimer_, &QTimer::timeout, this, &DocumentController::beginRestoring);
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
    add({number, MediaPlayerDocument::open(url, std::move(handlers), takeLeftOut(url)), url});
}

bool DocumentController::restoreWindows() {
    if (!session_ || session_->storedWindows().empty()) {
        return false;
    }
    WindowRestorationObserver::shared().applicationWillRestoreWindows();
    planRestoration();
    restoringCount_ = waiting_.size();
    session_->writeNow();
    if (waiting_.empty()) {
        didRestoreAll();
    }
    beginRestoring();
    while (!waiting_.empty() && !waiting_.front().isAlone && restoringNowCount() < kMaximumAtOnce) {
        beginRestoring();
    }
    return true;
}

void DocumentController::planRestoration() {
    std::vector<WaitingWindow> alone;
    for (const auto& state : session_->storedWindows()) {
        const auto turn = RestorationCount::decode(state).turn();
        if (turn == RestorationCount::Turn::leftOut) {
            leftOutStates_.push_back(state);
            namesNotRestored_.push_back(fileNameOf(state));
            continue;
        }
        const bool isAlone = turn == RestorationCount::Turn::alone;
        const WaitingWindow window{++lastNumber_, isAlone ? state : beginningRestoration(state),
                                   isAlone};
        keepStored(window);
        if (isAlone) {
            alone.push_back(window);
        } else {
            waiting_.push_back(window);
        }
    }
    waiting_.insert(waiting_.end(), alone.begin(), alone.end());
}

void DocumentController::keepStored(const WaitingWindow& window) {
    session_->add(window.number, [state = window.state] { return state; });
    didInvalidate(window.number);
}

void DocumentController::restoreOne(Number number, const StateCoder& state) {
    auto handlers = handlersOf(number);
    handlers.onTurn = [this](dispatch::Task task) { pacedTasks_.add(std::move(task)); };
    handlers.onRestored = [name = fileNameOf(state),
                           onRestored = calling(&DocumentController::didRestore)](bool isShown) {
        onRestored(name, isShown);
    };
    add({number, MediaPlayerDocument::restore(state, std::move(handlers)), std::nullopt});
    didInvalidate(number);
}

void DocumentController::beginRestoring() {
    if (waiting_.empty()) {
        return;
    }
    WaitingWindow window = std::move(waiting_.front());
    waiting_.pop_front();
    if (window.isAlone) {
        window.state = beginningRestoration(window.state);
        keepStored(window);
        session_->writeNow();
    }
    restoreOne(window.number, window.state);
    restorationTimer_.start(window.isAlone ? kMaximumTurnAlone : kMaximumTurn);
}

std::optional<StateCoder> DocumentController::takeLeftOut(const URL& url) {
    const auto found = std::ranges::find_if(leftOutStates_, [&url](const StateCoder& state) {
        const auto bookmark = FileBookmark::decode(state);
        return bookmark && bookmark->url() == url;
    });
    if (found == leftOutStates_.end()) {
        return std::nullopt;
    }
    const StateCoder state = std::move(*found);
    leftOutStates_.erase(found);
    return state;
}

void DocumentController::add(OpenDocument open) {
    if (session_) {
        session_->add(open.number, [weak = std::weak_ptr(open.document)] {
            const auto document = weak.lock();
            return document ? document->restorableState() : std::nullopt;
        });
    }
    // Those that are restored alone come last, at any place.
    const auto place = std::ranges::upper_bound(documents_, open.number, {}, &OpenDocument::number);
    documents_.insert(place, std::move(open));
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
    } else if (!waiting_.empty() && !waiting_.front().isAlone) {
        beginRestoring();
    } else if (restoringNowCount() == 0) {
        restorationTimer_.start(MediaPlayerDocument::kRestorationEnd);
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

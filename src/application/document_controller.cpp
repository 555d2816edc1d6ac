// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/document_controller.h"

#include <algorithm>
#include <utility>

#include <QApplication>
#include <QEvent>
#include <QFile>
#include <QFileDialog>
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

DocumentController::~DocumentController() {
    delete openPanel_.data(); // NOLINT(cppcoreguidelines-owning-memory)
}

void DocumentController::open(const std::vector<URL>& urls) {
    for (const URL& url : urls) {
        openOne(url);
    }
    if (openPanel_) {
        openPanel_->reject();
    }
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
    add(number, MediaPlayerDocument::open(url, std::move(handlers)));
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
    add(number, MediaPlayerDocument::restore(state, std::move(handlers)));
    // Until the window is there, the session has its old state.
    didInvalidate(number);
}

void DocumentController::add(Number number, const DocumentRef& document) {
    documents_.push_back({number, document});
    if (session_) {
        session_->add(number, [weak = std::weak_ptr(document)] {
            const auto open = weak.lock();
            return open ? open->restorableState() : std::nullopt;
        });
    }
}

void DocumentController::didInvalidate(Number number) {
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
        if (documents_.empty()) {
            showOpenPanel();
        }
    };
    QMetaObject::invokeMethod(this, goOn, Qt::QueuedConnection);
}

void DocumentController::didFocus(const QWindow* window) {
    // Windows that are restored come in any order, and each may get the focus.
    if (!session_ || restoringCount_ > 0) {
        return;
    }
    for (const auto& open : documents_) {
        const auto* known = open.document->window();
        if (known != nullptr && known->windowHandle() == window) {
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

void DocumentController::showOpenPanel() {
    if (openPanel_) {
        return;
    }
    const QString title = QCoreApplication::translate("DocumentController", "Open");
    // Deleted when it has finished, or by the destructor.
    openPanel_ = new QFileDialog(nullptr, title); // NOLINT(cppcoreguidelines-owning-memory)
    openPanel_->setFileMode(QFileDialog::ExistingFiles);
    connect(openPanel_, &QFileDialog::finished, this, &DocumentController::didFinishOpenPanel);
    openPanel_->open();
}

void DocumentController::didFinishOpenPanel() {
    QFileDialog* panel = std::exchange(openPanel_, nullptr);
    if (panel->result() == QDialog::Accepted) {
        for (const QString& path : panel->selectedFiles()) {
            openOne(URL::fromPath(QFile::encodeName(path).toStdString()));
        }
    }
    panel->deleteLater();
    checkForLast();
}

void DocumentController::checkForLast() const {
    if (documents_.empty() && !openPanel_ && !isAlertShown_) {
        onLastClosed_();
    }
}

} // namespace zelvane

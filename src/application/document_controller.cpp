// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/document_controller.h"

#include <algorithm>
#include <utility>

#include <QCoreApplication>
#include <QFile>
#include <QFileDialog>

#include "application/media_player_document.h"

namespace zelvane {

DocumentController::DocumentController(std::function<void()> onLastClosed)
    : onLastClosed_(std::move(onLastClosed)) {}

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

void DocumentController::openOne(const URL& url) {
    const auto opened = std::make_shared<std::weak_ptr<MediaPlayerDocument>>();
    const auto onClosed =
        calling<const std::weak_ptr<MediaPlayerDocument>&, bool>(&DocumentController::didClose);
    MediaPlayerDocument::Handlers handlers;
    handlers.onClosed = [opened, onClosed](bool didFail) { onClosed(*opened, didFail); };
    handlers.onOpen = calling(&DocumentController::showOpenPanel);
    handlers.onOpenMedia = calling(&DocumentController::open);
    documents_.push_back(MediaPlayerDocument::open(url, std::move(handlers)));
    *opened = documents_.back();
}

void DocumentController::didClose(const std::weak_ptr<MediaPlayerDocument>& document,
                                  bool didFail) {
    didFail_ = didFail_ || didFail;
    // Its window, which reports this, is still in use.
    const auto remove = [this, document] {
        std::erase(documents_, document.lock());
        checkForLast();
    };
    QMetaObject::invokeMethod(this, remove, Qt::QueuedConnection);
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
    if (documents_.empty() && !openPanel_) {
        onLastClosed_();
    }
}

} // namespace zelvane

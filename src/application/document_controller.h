// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <QObject>
#include <QPointer>

#include "application/media_player_document.h"
#include "application/session_store.h"
#include "foundation/url.h"

class QFileDialog;
class QWindow;

namespace zelvane {

class MediaPlayer;

/// The open documents of the program, their session, and the dialog that opens more: at most one
/// at a time. Main thread.
class DocumentController final : public QObject {
  public:
    /// `onLastClosed` is called each time that neither a document nor a dialog is left. Without a
    /// session nothing is restored or kept.
    explicit DocumentController(std::function<void()> onLastClosed,
                                std::unique_ptr<SessionStore> session = nullptr);
    ~DocumentController() override;

    /// Opens the windows of the last run, all at once; files that cannot be opened are reported
    /// together at the end. Returns whether there are any. At most once, before anything is opened.
    bool restoreWindows();
    /// Each file as a document of its own. Dismisses the dialog.
    void open(const std::vector<URL>& urls);
    /// Does nothing while the dialog is shown.
    void showOpenPanel();
    /// Whether a document has closed with an alert.
    bool didFail() const { return didFail_; }
    /// The window that shows this player; null when there is none.
    MediaPlayerWindow* windowOf(const MediaPlayer& player) const;
    std::size_t documentCount() const { return documents_.size(); }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    using DocumentRef = std::shared_ptr<MediaPlayerDocument>;
    /// Identifies a document in its handlers, before and after it exists.
    using Number = SessionStore::Window;
    struct OpenDocument {
        Number number;
        DocumentRef document;
    };

    /// Calls `method` while this exists: a document whose alert is shown can outlive it.
    template <class... Arguments>
    std::function<void(Arguments...)> calling(void (DocumentController::*method)(Arguments...));
    MediaPlayerDocument::Handlers handlersOf(Number number);
    void openOne(const URL& url);
    void restoreOne(const StateCoder& state);
    void add(Number number, const DocumentRef& document);
    void didInvalidate(Number number);
    void didClose(Number number, bool didFail);
    void didRestore(const std::string& fileName, bool isShown);
    void didRestoreAll();
    void showInOrder() const;
    void didDismissAlert();
    void didFocus(const QWindow* window);
    void didFinishOpenPanel();
    void checkForLast() const;

    const std::function<void()> onLastClosed_;
    std::vector<OpenDocument> documents_;
    /// Destroyed before the documents, whose state it writes.
    const std::unique_ptr<SessionStore> session_;
    Number lastNumber_ = 0;
    std::size_t restoringCount_ = 0;
    std::vector<std::string> namesNotRestored_;
    bool isAlertShown_ = false;
    QPointer<QFileDialog> openPanel_;
    bool didFail_ = false;
    const std::shared_ptr<const int> lifetime_ = std::make_shared<const int>();
};

} // namespace zelvane

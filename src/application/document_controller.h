// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QObject>
#include <QTimer>

#include "application/media_player_document.h"
#include "application/open_panel.h"
#include "application/paced_tasks.h"
#include "application/session_store.h"
#include "foundation/url.h"
#include "foundation/user_defaults.h"

class QWindow;

namespace zelvane {

class MediaPlayer;

/// The open documents of the program, their session, and the dialog that opens more: at most one
/// at a time. Main thread.
class DocumentController final : public QObject {
  public:
    /// What the application does beside the documents.
    struct Handlers {
        /// A window is there; a file that this run has opened, or none for one of an earlier run.
        std::function<void(const std::optional<URL>& newFile)> onShown = {};
        /// Nothing came back from the last run. By default the dialog is shown.
        std::function<void()> openUntitledFile = {};
        /// The window over which the dialog is shown; null for a dialog on its own.
        std::function<QWidget*()> openPanelParent = {};
        /// As in MediaPlayerWindowController::Callbacks.
        std::function<void(const MenuCommand&)> perform = {};
        std::function<ApplicationMenuState()> menuState = [] { return ApplicationMenuState(); };
    };

    /// `onLastClosed` is called each time that neither a document nor a dialog is left. Without a
    /// session nothing is restored or kept.
    explicit DocumentController(std::function<void()> onLastClosed,
                                std::unique_ptr<SessionStore> session = nullptr);
    ~DocumentController() override;
    /// Before anything is opened.
    void setHandlers(Handlers handlers) { handlers_ = std::move(handlers); }

    /// Opens the windows of the last run; files that cannot be opened are reported
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
    /// Those that are shown, in the order in which they were opened.
    std::vector<ApplicationMenuState::OpenWindow> windows() const;
    /// Brings a window to the front; by default the one that was used last. Returns whether there
    /// is such a window.
    bool raiseWindow(std::optional<std::int64_t> number = std::nullopt) const;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    using DocumentRef = std::shared_ptr<MediaPlayerDocument>;
    /// Identifies a document in its handlers, before and after it exists.
    using Number = SessionStore::Window;
    struct OpenDocument {
        Number number;
        DocumentRef document;
        std::optional<URL> newFile;
        bool isShown = false;
    };
    struct WaitingWindow {
        Number number;
        StateCoder state;
        /// It is restored while no other is.
        bool isAlone;
    };

    /// Calls `method` while this exists: a document whose alert is shown can outlive it.
    template <class... Arguments>
    std::function<void(Arguments...)> calling(void (DocumentController::*method)(Arguments...));
    MediaPlayerDocument::Handlers handlersOf(Number number);
    void openOne(const URL& url);
    void restoreOne(Number number, const StateCoder& state);
    void planRestoration();
    void keepStored(const WaitingWindow& window);
    void beginRestoring();
    std::size_t restoringNowCount() const { return restoringCount_ - waiting_.size(); }
    std::optional<StateCoder> takeLeftOut(const URL& url);
    void add(OpenDocument open);
    void didInvalidate(Number number);
    void noteShown(Number number);
    void didClose(Number number, bool didFail);
    void didRestore(const std::string& fileName, bool isShown);
    void didRestoreAll();
    void showInOrder() const;
    void didDismissAlert();
    void didFocus(const QWindow* window);
    void didFinishOpenPanel(const std::vector<URL>& files);
    void checkForLast() const;

    const std::function<void()> onLastClosed_;
    std::vector<OpenDocument> documents_;
    /// Destroyed before the documents, whose state it writes.
    const std::unique_ptr<SessionStore> session_;
    Number lastNumber_ = 0;
    std::size_t restoringCount_ = 0;
    /// Those that are restored alone are the last.
    std::deque<WaitingWindow> waiting_;
    QTimer restorationTimer_;
    PacedTasks pacedTasks_;
    /// Those that ended the program repeatedly. The user can still open their files.
    std::vector<StateCoder> leftOutStates_;
    std::vector<std::string> namesNotRestored_;
    bool isAlertShown_ = false;
    Handlers handlers_;
    OpenPanel openPanel_{UserDefaults::shared()};
    std::optional<Number> front_;
    bool didFail_ = false;
    const std::shared_ptr<const int> lifetime_ = std::make_shared<const int>();
};

} // namespace zelvane

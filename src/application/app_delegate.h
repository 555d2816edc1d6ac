// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <QObject>
#include <QPointer>

#include "application/document_controller.h"
#include "application/recent_files.h"
#include "application/session_store.h"
#include "foundation/url.h"
#include "player_window/player/player_menu.h"

class QDialog;

namespace zelvane {

class StartWindow;

/// Starts the application, and does what its menus offer beside the frontmost player: documents,
/// recent files, and windows that are about no player. Main thread.
///
/// The start window is there while nothing is open. It returns after the last document only if the
/// user came from it: a film that was opened elsewhere ends the program with its window.
class AppDelegate final : public QObject {
  public:
    /// Without `showPreferences` no menu has preferences.
    AppDelegate(std::unique_ptr<SessionStore> session, std::function<void()> showPreferences);
    ~AppDelegate() override;

    /// Before windows are made.
    static void applicationWillFinishLaunching();
    /// Opens the windows of the last run and the files; without either, it offers to open one. To
    /// be called from the event loop.
    void applicationDidFinishLaunching(const std::vector<URL>& files);

    DocumentController& documents() { return documents_; }
    /// Files of the user, in addition to what is open.
    void open(const std::vector<URL>& files);
    /// Brings the program to the front.
    void activate();
    /// Actions that the desktop offers beside the program's name: "open", "preferences", "quit".
    /// Returns whether there is such an action.
    bool activateAction(const std::string& name);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    DocumentController::Handlers documentHandlers();
    void applicationOpenUntitledFile();
    void perform(const MenuCommand& command);
    bool perform(PlayerAction action);
    ApplicationMenuState menuState() const;
    bool isStartWindowShown() const;
    void showStartWindow();
    void closeStartWindow();
    void raiseWindow(std::int64_t number);
    void showAbout();
    void didShow(const std::optional<URL>& newFile);
    void didCloseLast();

    const std::function<void()> showPreferences_;
    RecentFiles recentFiles_;
    std::unique_ptr<StartWindow> startWindow_;
    QPointer<QDialog> aboutWindow_;
    bool returnsToStartWindow_ = false;
    bool isQuitting_ = false;
    /// The first to be destroyed: its windows ask the others.
    DocumentController documents_;
};

} // namespace zelvane

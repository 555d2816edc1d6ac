// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include <QObject>
#include <QString>
#include <QTimer>
#include <QWidget>

namespace zelvane {

/// The window of a document whose file is being opened: what is opened, and a button that cancels.
/// It is shown in the middle of the screen after a moment only, so that a file that opens fast
/// shows nothing. Main thread.
class MediaPlayerDocumentProgressWindowController final : public QObject {
    Q_OBJECT

  public:
    /// Begins to wait.
    explicit MediaPlayerDocumentProgressWindowController(const QString& fileName);
    ~MediaPlayerDocumentProgressWindowController() override;

    /// Removes the window from the screen, or keeps it from being shown.
    void close();

  signals:
    /// By the button, by Esc, or because the window was closed. Once.
    void didCancel();

  private:
    class Window;
    void showWindow();

    const QString fileName_;
    QTimer delay_;
    /// Null before it is shown: making it takes longer than opening most files.
    std::unique_ptr<Window> window_;
};

} // namespace zelvane

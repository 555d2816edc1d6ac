// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <vector>

#include <QPointer>

#include "foundation/url.h"

class QFileDialog;
class QWidget;

namespace zelvane {

class UserDefaults;

/// The dialog of the desktop in which the user chooses media files. It opens in the folder of the
/// last choice. Main thread.
class OpenPanel {
  public:
    explicit OpenPanel(UserDefaults& defaults) : defaults_(defaults) {}
    ~OpenPanel();
    OpenPanel(const OpenPanel&) = delete;
    OpenPanel& operator=(const OpenPanel&) = delete;

    bool isShown() const { return !dialog_.isNull(); }
    /// Shows the dialog over `parent`, or on its own where that is null. It must not be shown yet.
    /// `finished` is called once, with the chosen files or none. Only while the event loop runs is
    /// the dialog the desktop's own.
    void show(QWidget* parent, std::function<void(const std::vector<URL>&)> finished);
    /// As if the user had cancelled. Does nothing where the dialog is not shown.
    void cancel();

  private:
    std::vector<URL> takeFiles(QFileDialog& dialog);

    UserDefaults& defaults_;
    QPointer<QFileDialog> dialog_;
};

/// The filters of the dialog: media files, and all files.
QStringList mediaFileFilters();

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <exception>
#include <functional>

#include <QString>

class QMessageBox;
class QWidget;

namespace zelvane {

/// An alert for an error: its description, its reason and a suggestion below. `fileName` is the
/// title of its window, because the texts of errors do not name the file. Not shown yet; owned by
/// `parent`, or by the caller where that is null. Main thread.
QMessageBox* makeErrorAlert(const std::exception& error, const QString& fileName, QWidget* parent);

/// Shows the alert as a sheet on `parent`'s window, or as its own window where that is null, and
/// returns at once. When the user dismisses it, it is deleted and `dismissed` is called.
void showErrorAlert(const std::exception& error, const QString& fileName, QWidget* parent,
                    std::function<void()> dismissed = {});

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <exception>
#include <functional>

class QMessageBox;
class QWidget;

namespace zelvane {

/// What an alert tells of an error: its description large, why and what to do about it below.
/// Not shown yet; owned by `parent`, or by the caller where that is null. Main thread.
QMessageBox* makeErrorAlert(const std::exception& error, QWidget* parent);

/// Shows the alert as a sheet on `parent`'s window, or alone where that is null, and returns at
/// once. The alert goes when it is dismissed, and `dismissed` is called then.
void showErrorAlert(const std::exception& error, QWidget* parent,
                    std::function<void()> dismissed = {});

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class QDialog;
class QWidget;

namespace zelvane {

/// A window with all keys of a player window. Not shown yet; owned by `parent`, and deleted when it
/// is closed. Main thread.
QDialog* makeShortcutsWindow(QWidget* parent);

} // namespace zelvane

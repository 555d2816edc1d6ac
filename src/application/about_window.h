// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class QDialog;

namespace zelvane {

/// A window with the version and the licence of the program and of the libraries that it uses. Not
/// shown yet; deleted when it is closed. Main thread.
QDialog* makeAboutWindow();

} // namespace zelvane

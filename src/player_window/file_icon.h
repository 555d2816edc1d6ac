// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QIcon>
#include <QString>

namespace zelvane {

/// The icon of a file by its name alone, because its content may come slowly: the desktop's for
/// that type, else a symbol for the dark ground of the panels. Main thread.
QIcon fileIcon(const QString& fileName);

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace zelvane {

/// A time in words, as in "1 hour, 2 minutes, 5 seconds". Parts of a second are left out, and so
/// are units that are zero. A negative time, and one that is no number, is zero.
QString spokenTime(double seconds);

} // namespace zelvane

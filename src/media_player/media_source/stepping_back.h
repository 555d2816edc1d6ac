// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include "foundation/cm_time.h"

namespace zelvane {

/// Finds a beginning that is early enough: calls `attempt` with `target`, then with earlier and
/// earlier times, 1, 2, 4, 8... s before it, until it says true, or has been called with `start`.
void stepBackUntil(const CMTime& target, const CMTime& start,
                   const std::function<bool(const CMTime& from)>& attempt);

} // namespace zelvane

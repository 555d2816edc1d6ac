// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include "foundation/cm_time.h"

namespace zelvane {

/// Finds a start that is early enough: calls `attempt` with `target`, then with times 1, 2, 4, 8...
/// s before it, until `attempt` returns true or was called with `start`.
void stepBackUntil(const CMTime& target, const CMTime& start,
                   const std::function<bool(const CMTime& from)>& attempt);

} // namespace zelvane

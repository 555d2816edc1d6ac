// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "foundation/error.h"

namespace zelvane {

/// One error for all files whose windows could not be restored: at least one name.
LocalizedError restorationError(const std::vector<std::string>& fileNames);

} // namespace zelvane

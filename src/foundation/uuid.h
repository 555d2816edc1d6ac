// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace zelvane {

/// A new random UUID (RFC 4122, version 4) in upper case.
std::string makeUUIDString();

} // namespace zelvane

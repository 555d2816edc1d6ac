// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

namespace zelvane {

/// A library that the program uses.
struct LibraryVersion {
    std::string name;
    /// The version that the loaded library reports, or that of its headers if it reports none.
    /// Empty if both are unknown.
    std::string version;
    /// An SPDX expression.
    std::string license;
};

/// Sorted by name.
std::vector<LibraryVersion> librariesInUse();

} // namespace zelvane

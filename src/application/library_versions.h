// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

namespace zelvane {

/// A library that the program uses.
struct LibraryVersion {
    std::string name;
    /// Of the library that is loaded, where it tells; else of its headers; empty where neither has
    /// one.
    std::string version;
    /// An SPDX expression.
    std::string license;
};

/// Sorted by name.
std::vector<LibraryVersion> librariesInUse();

} // namespace zelvane

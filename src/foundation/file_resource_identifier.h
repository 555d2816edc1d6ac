// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <compare>
#include <cstdint>
#include <optional>

#include "foundation/url.h"

namespace zelvane {

/// Which file it is, whatever it is called: the same for every path and hard link that leads to
/// it. A value.
class FileResourceIdentifier {
  public:
    /// Of the file that lies there now, behind symbolic links; none for a URL that is no file's.
    /// Throws SystemError of kPOSIXErrorDomain when there is nothing, or nothing that may be seen.
    static std::optional<FileResourceIdentifier> of(const URL& url);

    friend auto operator<=>(const FileResourceIdentifier&, const FileResourceIdentifier&) = default;

  private:
    FileResourceIdentifier(std::uint64_t device, std::uint64_t inode)
        : device_(device), inode_(inode) {}

    std::uint64_t device_;
    std::uint64_t inode_;
};

} // namespace zelvane

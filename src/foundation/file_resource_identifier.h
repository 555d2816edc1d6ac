// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <compare>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

#include "foundation/file_descriptor.h"
#include "foundation/url.h"

namespace zelvane {

/// Identifies a file independently of its name: equal for every path and hard link to it. A value.
/// It keeps the file open, without access to its contents, so that the system cannot give the
/// number of a deleted file to a new one.
class FileResourceIdentifier {
  public:
    /// Identifies the file at the URL after following symbolic links; none for a URL that is not a
    /// file's. Throws SystemError of kPOSIXErrorDomain when it does not exist or is not accessible.
    static std::optional<FileResourceIdentifier> of(const URL& url);

    friend bool operator==(const FileResourceIdentifier& a, const FileResourceIdentifier& b) {
        return (a <=> b) == 0;
    }
    friend std::strong_ordering operator<=>(const FileResourceIdentifier& a,
                                            const FileResourceIdentifier& b) {
        const auto byDevice = a.device_ <=> b.device_;
        return byDevice != 0 ? byDevice : a.inode_ <=> b.inode_;
    }

  private:
    FileResourceIdentifier(std::shared_ptr<const FileDescriptor> file, std::uint64_t device,
                           std::uint64_t inode)
        : file_(std::move(file)), device_(device), inode_(inode) {}

    std::shared_ptr<const FileDescriptor> file_;
    std::uint64_t device_;
    std::uint64_t inode_;
};

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/file_resource_identifier.h"

#include <cerrno>
#include <string>

#include <sys/stat.h>

#include "foundation/error.h"

namespace zelvane {

std::optional<FileResourceIdentifier> FileResourceIdentifier::of(const URL& url) {
    if (!url.isFileURL()) {
        return std::nullopt;
    }
    struct stat status {};
    if (stat(url.path().c_str(), &status) != 0) {
        throw SystemError(std::string(kPOSIXErrorDomain), errno);
    }
    return FileResourceIdentifier(status.st_dev, status.st_ino);
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/file_resource_identifier.h"

#include <cerrno>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>

#include "foundation/error.h"

namespace zelvane {

std::optional<FileResourceIdentifier> FileResourceIdentifier::of(const URL& url) {
    if (!url.isFileURL()) {
        return std::nullopt;
    }
    auto file =
        std::make_shared<const FileDescriptor>(open(url.path().c_str(), O_PATH | O_CLOEXEC));
    struct stat status {};
    if (!file->isOpen() || fstat(file->get(), &status) != 0) {
        throw SystemError(std::string(kPOSIXErrorDomain), errno);
    }
    return FileResourceIdentifier(std::move(file), status.st_dev, status.st_ino);
}

} // namespace zelvane

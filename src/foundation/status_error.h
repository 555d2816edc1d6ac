// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "foundation/error.h"
#include "foundation/log.h"
#include "foundation/source_location.h"

namespace zelvane {

using OSStatus = std::int32_t;
using CVReturn = std::int32_t;

inline constexpr OSStatus kNoErr = 0;

/// Logs and throws a SystemError of kOSStatusErrorDomain.
[[noreturn]] inline void throwDarwinError(OSStatus status,
                                          SourceLocation location = SourceLocation::current()) {
    const SystemError error{std::string(kOSStatusErrorDomain), status};
    logMessage("In {} {}, the Darwin function at line {} returned an error: {}.", location.file,
               location.function, location.line, errorDescriptionText(error));
    throw error;
}

/// Logs and throws a SystemError of kCoreVideoErrorDomain.
[[noreturn]] inline void throwCoreVideoError(CVReturn status,
                                             SourceLocation location = SourceLocation::current()) {
    const SystemError error{std::string(kCoreVideoErrorDomain), status};
    logMessage("In {} {}, the Core Video function at line {} returned an error: {}.", location.file,
               location.function, location.line, errorDescriptionText(error));
    throw error;
}

} // namespace zelvane

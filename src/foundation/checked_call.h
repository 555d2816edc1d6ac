// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <utility>

#include "foundation/error.h"
#include "foundation/log.h"
#include "foundation/source_location.h"

namespace zelvane {

using OSStatus = std::int32_t;
using CVReturn = std::int32_t;

inline constexpr OSStatus kNoErr = 0;

/// Runs a media service call that answers 0 on success, and throws SystemError of
/// kOSStatusErrorDomain for any other status. One log line, unless the status is expected here.
template <class Call>
void checkedDarwinCall(Call&& call, std::initializer_list<OSStatus> expected = {},
                       SourceLocation location = SourceLocation::current()) {
    const OSStatus status = std::forward<Call>(call)();
    if (status == kNoErr) {
        return;
    }
    const SystemError error{std::string(kOSStatusErrorDomain), status};
    if (std::find(expected.begin(), expected.end(), status) == expected.end()) {
        logMessage("In {} {}, the Darwin function at line {} returned an error: {}.", location.file,
                   location.function, location.line, errorDescriptionText(error));
    }
    throw error;
}

/// Runs a pixel buffer call that answers 0 on success, and throws SystemError of
/// kCoreVideoErrorDomain for any other return. Every failure is logged.
template <class Call>
void checkedCoreVideoCall(Call&& call, SourceLocation location = SourceLocation::current()) {
    const CVReturn status = std::forward<Call>(call)();
    if (status == 0) {
        return;
    }
    const SystemError error{std::string(kCoreVideoErrorDomain), status};
    logMessage("In {} {}, the Core Video function at line {} returned an error: {}.", location.file,
               location.function, location.line, errorDescriptionText(error));
    throw error;
}

} // namespace zelvane

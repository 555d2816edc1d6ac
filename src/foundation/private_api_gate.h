// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "foundation/error.h"

namespace zelvane {

inline constexpr std::string_view kPrivateAPIUsageErrorDomain =
    "zelvane.player.mac.PrivateAPIUsage";

/// Codes of kPrivateAPIUsageErrorDomain.
enum class PrivateAPIUsageErrorCode {
    /// A std::exception was thrown; its text is kept under "UnderlyingNSException".
    exception = 0,
    /// A text was thrown; it is kept under "UnderlyingObjectiveCExceptionObject".
    otherObject = 1,
    /// Something without a text was thrown.
    notAnObject = 2,
    /// An error of another domain was reported; its text is kept under "UnderlyingNSError".
    underlyingError = 3,
    /// The call gave nothing. Set by the blocks themselves.
    nullResult = 4,
};

/// The error that a block reports when a private call gave nothing.
SystemError privateAPINullResultError();

/// Thrown by a block that wants the place of its failure, rather than that of the gate, in the log.
class PrivateAPIException : public std::runtime_error {
  public:
    explicit PrivateAPIException(const std::string& reason);
    /// The frames of the throwing thread, the innermost first.
    const std::vector<std::string>& callStackSymbols() const { return callStackSymbols_; }

  private:
    std::vector<std::string> callStackSymbols_;
};

/// Takes the place of an NSError pointer: a block fills it to report a failure without throwing.
using PrivateAPIErrorSlot = std::optional<SystemError>;

/// The one door to calls that nobody promised to keep: runs `block`, turns whatever it reports or
/// throws into one error of kPrivateAPIUsageErrorDomain, logs that, and hands it to `errorOut`.
/// True when there was none. One block runs at a time in the whole process; a block may enter
/// again, and must not wait for a thread that is about to enter. Any thread.
bool safelyUsePrivateAPI(const std::function<void(PrivateAPIErrorSlot& error)>& block,
                         PrivateAPIErrorSlot* errorOut = nullptr);

/// The address of a function or constant that this process may or may not have; null, and a log
/// line, when it has not.
void* privateAPISymbol(const char* name);

} // namespace zelvane

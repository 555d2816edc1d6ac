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
    /// A std::exception was thrown; its text is stored under "UnderlyingNSException".
    exception = 0,
    /// A string was thrown; it is stored under "UnderlyingObjectiveCExceptionObject".
    otherObject = 1,
    /// An object without a text was thrown.
    notAnObject = 2,
    /// An error of another domain was reported; its text is stored under "UnderlyingNSError".
    underlyingError = 3,
    /// The call returned null. Set by the blocks.
    nullResult = 4,
};

/// The error that a block reports when a private call returned null.
SystemError privateAPINullResultError();

/// An exception with the call stack of its throw. The gate logs that stack instead of its own.
class PrivateAPIException : public std::runtime_error {
  public:
    explicit PrivateAPIException(const std::string& reason);
    /// The frames of the throwing thread, innermost first.
    const std::vector<std::string>& callStackSymbols() const { return callStackSymbols_; }

  private:
    std::vector<std::string> callStackSymbols_;
};

/// An output parameter: a block sets it to report a failure without throwing.
using PrivateAPIErrorSlot = std::optional<SystemError>;

/// The gate for calls to undocumented interfaces. Runs `block`, converts an error that it reports
/// or throws to one of kPrivateAPIUsageErrorDomain, logs it and stores it in `errorOut`. Returns
/// whether there was no error. One block runs at a time in the process. A block may call this
/// function, and must not wait for another thread that does. Any thread.
bool safelyUsePrivateAPI(const std::function<void(PrivateAPIErrorSlot& error)>& block,
                         PrivateAPIErrorSlot* errorOut = nullptr);

/// The address of an optional function or constant. Returns null and logs a line if it is missing.
void* privateAPISymbol(const char* name);

} // namespace zelvane

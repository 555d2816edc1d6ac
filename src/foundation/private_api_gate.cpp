// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/private_api_gate.h"

#include <array>
#include <cstdlib>
#include <memory>

#include <dlfcn.h>
#include <execinfo.h>
#include <fmt/ranges.h>

#include "foundation/dispatch.h"
#include "foundation/log.h"

namespace zelvane {
namespace {

constexpr const char* kUnderlyingExceptionKey = "UnderlyingNSException";
constexpr const char* kUnderlyingObjectKey = "UnderlyingObjectiveCExceptionObject";
constexpr const char* kUnderlyingErrorKey = "UnderlyingNSError";
constexpr const char* kCallStackSymbolsKey = "CallStackSymbols";

dispatch::SerialQueue& usageQueue() {
    // Never destroyed: detached threads may still use it when the process ends.
    static dispatch::SerialQueue& queue =
        *std::make_unique<dispatch::SerialQueue>("Private API Usage Queue").release();
    return queue;
}

std::vector<std::string> currentCallStackSymbols() {
    constexpr int kMaxFrames = 32;
    std::array<void*, kMaxFrames> frames{};
    const int count = backtrace(frames.data(), kMaxFrames);
    const std::unique_ptr<char*, decltype(&std::free)> symbols(
        backtrace_symbols(frames.data(), count), &std::free);
    return symbols ? std::vector<std::string>(symbols.get(), symbols.get() + count)
                   : std::vector<std::string>{};
}

SystemError gateError(PrivateAPIUsageErrorCode code, SystemError::UserInfo userInfo = {}) {
    return {std::string(kPrivateAPIUsageErrorDomain), static_cast<int>(code), std::move(userInfo)};
}

/// The error of a block and its call stack, if it has one.
struct Failure {
    SystemError error;
    std::vector<std::string> callStackSymbols;
};

Failure failureOfObject(std::string description) {
    return {gateError(PrivateAPIUsageErrorCode::otherObject,
                      {{kUnderlyingObjectKey, std::move(description)}}),
            {}};
}

Failure failureOfReport(const SystemError& error) {
    if (error.domain() == kPrivateAPIUsageErrorDomain) {
        return {error, {}};
    }
    return {gateError(PrivateAPIUsageErrorCode::underlyingError,
                      {{kUnderlyingErrorKey, errorDescriptionText(error)}}),
            {}};
}

Failure failureOfException(const std::exception& exception) {
    const auto* withStack = dynamic_cast<const PrivateAPIException*>(&exception);
    return {gateError(PrivateAPIUsageErrorCode::exception,
                      {{kUnderlyingExceptionKey, exception.what()}}),
            withStack != nullptr ? withStack->callStackSymbols() : std::vector<std::string>{}};
}

std::optional<Failure> run(const std::function<void(PrivateAPIErrorSlot&)>& block) {
    PrivateAPIErrorSlot reported;
    try {
        block(reported);
    } catch (const SystemError& error) {
        return failureOfReport(error);
    } catch (const std::exception& exception) {
        return failureOfException(exception);
    } catch (const std::string& text) {
        return failureOfObject(text);
    } catch (const char* text) {
        return failureOfObject(text);
    } catch (...) {
        return Failure{gateError(PrivateAPIUsageErrorCode::notAnObject), {}};
    }
    return reported ? std::optional(failureOfReport(*reported)) : std::nullopt;
}

SystemError withCallStack(const Failure& failure) {
    SystemError::UserInfo userInfo = failure.error.userInfo();
    if (userInfo.count(kCallStackSymbolsKey) == 0) {
        const auto symbols =
            failure.callStackSymbols.empty() ? currentCallStackSymbols() : failure.callStackSymbols;
        userInfo.emplace(kCallStackSymbolsKey, fmt::format("{}", fmt::join(symbols, "\n")));
    }
    return {failure.error.domain(), failure.error.code(), std::move(userInfo)};
}

} // namespace

SystemError privateAPINullResultError() {
    return gateError(PrivateAPIUsageErrorCode::nullResult);
}

PrivateAPIException::PrivateAPIException(const std::string& reason)
    : std::runtime_error(reason), callStackSymbols_(currentCallStackSymbols()) {}

bool safelyUsePrivateAPI(const std::function<void(PrivateAPIErrorSlot&)>& block,
                         PrivateAPIErrorSlot* errorOut) {
    dispatch::SerialQueue& queue = usageQueue();
    const auto failure = queue.isCurrent() ? run(block) : queue.sync([&] { return run(block); });
    if (!failure) {
        return true;
    }
    const SystemError error = withCallStack(*failure);
    logMessage("Failed to use private API: {} UserInfo={}.", error.what(), error.userInfo());
    if (errorOut != nullptr) {
        *errorOut = error;
    }
    return false;
}

void* privateAPISymbol(const char* name) {
    void* address = dlsym(RTLD_DEFAULT, name);
    if (address == nullptr) {
        logMessage("Private API symbol {} is unavailable.", name);
    }
    return address;
}

} // namespace zelvane

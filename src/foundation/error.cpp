// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/error.h"

#include <array>
#include <memory>
#include <mutex>
#include <system_error>

#include <fmt/format.h>

namespace zelvane {
namespace {

struct Providers {
    std::mutex mutex;
    std::map<std::string, ErrorUserInfoProvider, std::less<>> byDomain;
};

Providers& providers() {
    static Providers& shared = *std::make_unique<Providers>().release();
    return shared;
}

std::optional<std::string> describeByDomain(const SystemError& error) {
    if (error.domain() == kPOSIXErrorDomain) {
        return std::generic_category().message(error.code());
    }
    ErrorUserInfoProvider provider;
    {
        const std::lock_guard lock(providers().mutex);
        const auto found = providers().byDomain.find(error.domain());
        if (found == providers().byDomain.end()) {
            return std::nullopt;
        }
        provider = found->second;
    }
    return provider(error, kLocalizedDescriptionKey);
}

std::string joinedTexts(const LocalizedError& error) {
    const std::array texts{error.errorDescription(), error.failureReason(),
                           error.recoverySuggestion()};
    std::string joined;
    for (const auto& text : texts) {
        if (text) {
            joined += (joined.empty() ? "" : " ") + *text;
        }
    }
    return joined;
}

} // namespace

SystemError::SystemError(std::string domain, int code, UserInfo userInfo)
    : Error(fmt::format("Error Domain={} Code={}", domain, code)), domain_(std::move(domain)),
      code_(code), userInfo_(std::move(userInfo)) {}

void setUserInfoProvider(std::string domain, ErrorUserInfoProvider provider) {
    const std::lock_guard lock(providers().mutex);
    providers().byDomain.insert_or_assign(std::move(domain), std::move(provider));
}

std::string errorDescriptionText(const std::exception& error) {
    if (const auto* localized = dynamic_cast<const LocalizedError*>(&error)) {
        return joinedTexts(*localized);
    }
    if (const auto* system = dynamic_cast<const SystemError*>(&error)) {
        const auto own = system->userInfo().find(kLocalizedDescriptionKey);
        if (own != system->userInfo().end()) {
            return own->second;
        }
        if (const auto text = describeByDomain(*system)) {
            return *text;
        }
    }
    return error.what();
}

std::string errorDescriptionText(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& known) {
        return errorDescriptionText(known);
    } catch (...) {
        return "An unknown error occurred.";
    }
}

} // namespace zelvane

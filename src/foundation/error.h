// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <exception>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace zelvane {

/// Base of every typed error of the project. Errors are values: caught, copied, compared, kept.
/// what() is the plain description.
class Error : public std::exception {
  public:
    explicit Error(std::string description) : description_(std::move(description)) {}
    const char* what() const noexcept override { return description_.c_str(); }

  private:
    std::string description_;
};

/// An error with texts meant for a person. Each may be absent.
class LocalizedError : public Error {
  public:
    LocalizedError(std::string description, std::optional<std::string> errorDescription,
                   std::optional<std::string> failureReason,
                   std::optional<std::string> recoverySuggestion)
        : Error(std::move(description)), errorDescription_(std::move(errorDescription)),
          failureReason_(std::move(failureReason)),
          recoverySuggestion_(std::move(recoverySuggestion)) {}

    const std::optional<std::string>& errorDescription() const { return errorDescription_; }
    const std::optional<std::string>& failureReason() const { return failureReason_; }
    const std::optional<std::string>& recoverySuggestion() const { return recoverySuggestion_; }

  private:
    std::optional<std::string> errorDescription_;
    std::optional<std::string> failureReason_;
    std::optional<std::string> recoverySuggestion_;
};

inline constexpr std::string_view kLocalizedDescriptionKey = "NSLocalizedDescriptionKey";

/// An error of a service below the engine: a domain, a code in it, and texts by key.
class SystemError : public Error {
  public:
    using UserInfo = std::map<std::string, std::string, std::less<>>;

    SystemError(std::string domain, int code, UserInfo userInfo = {});

    const std::string& domain() const { return domain_; }
    int code() const { return code_; }
    const UserInfo& userInfo() const { return userInfo_; }

    friend bool operator==(const SystemError& a, const SystemError& b) {
        return a.code_ == b.code_ && a.domain_ == b.domain_;
    }

  private:
    std::string domain_;
    int code_;
    UserInfo userInfo_;
};

inline constexpr std::string_view kOSStatusErrorDomain = "NSOSStatusErrorDomain";
inline constexpr std::string_view kCoreVideoErrorDomain = "com.apple.corevideo";
inline constexpr std::string_view kPOSIXErrorDomain = "NSPOSIXErrorDomain";

/// Supplies texts for all errors of a domain whose own user info lacks them. Any thread.
using ErrorUserInfoProvider =
    std::function<std::optional<std::string>(const SystemError& error, std::string_view key)>;
void setUserInfoProvider(std::string domain, ErrorUserInfoProvider provider);

/// The best readable text of any error: the texts for a person joined by a blank, else a system
/// error's own description, else its domain's, else what().
std::string errorDescriptionText(const std::exception& error);
/// The same for an error of any type that was caught.
std::string errorDescriptionText(const std::exception_ptr& error);

} // namespace zelvane

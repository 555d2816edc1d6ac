// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <exception>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace zelvane {

/// Base of all errors of the project. Errors are values that may be copied and stored. what() is a
/// plain description.
class Error : public std::exception {
  public:
    explicit Error(std::string description) : description_(std::move(description)) {}
    const char* what() const noexcept override { return description_.c_str(); }

  private:
    std::string description_;
};

/// An error with texts for the user, each of them optional.
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

/// An error of a system service: a domain, a code of the domain, and texts by key.
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

/// Supplies texts for errors of a domain whose user info does not contain them. Any thread.
using ErrorUserInfoProvider =
    std::function<std::optional<std::string>(const SystemError& error, std::string_view key)>;
void setUserInfoProvider(std::string domain, ErrorUserInfoProvider provider);

/// A readable text of any error: the texts of a LocalizedError joined by blanks, else the
/// description in a SystemError's user info, else the one of its domain's provider, else what().
std::string errorDescriptionText(const std::exception& error);
/// The same for a caught object of any type.
std::string errorDescriptionText(const std::exception_ptr& error);

} // namespace zelvane

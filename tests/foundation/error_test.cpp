// SPDX-License-Identifier: GPL-3.0-or-later
#include <stdexcept>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "foundation/error.h"
#include "foundation/status_error.h"
#include "tests/support/log_capture.h"

namespace zelvane {
namespace {

using test::LogCapture;

TEST(ErrorDescription, joinsTheTextsThatArePresent) {
    const auto joined = [](auto... texts) {
        return errorDescriptionText(LocalizedError("plain", texts...));
    };
    EXPECT_EQ(joined("What.", "Why.", "Help."), "What. Why. Help.");
    EXPECT_EQ(joined("What.", std::nullopt, "Help."), "What. Help.");
    EXPECT_EQ(joined(std::nullopt, "Why.", std::nullopt), "Why.");
}

TEST(ErrorDescription, ofASystemErrorIsItsOwnOrItsDomainsOrItsCode) {
    const std::string domain = "org.example.disk";
    const SystemError described(domain, 3, {{std::string(kLocalizedDescriptionKey), "Own text."}});
    const SystemError bare(domain, 3);
    EXPECT_EQ(errorDescriptionText(described), "Own text.");
    EXPECT_EQ(errorDescriptionText(bare), "Error Domain=org.example.disk Code=3");
    setUserInfoProvider(domain, [](const SystemError& error, std::string_view key) {
        return key == kLocalizedDescriptionKey && error.code() == 3
                   ? std::optional<std::string>("Disk full.")
                   : std::nullopt;
    });
    EXPECT_EQ(errorDescriptionText(bare), "Disk full.");
    EXPECT_EQ(errorDescriptionText(described), "Own text.");
    EXPECT_EQ(errorDescriptionText(SystemError(domain, 4)), "Error Domain=org.example.disk Code=4");
    EXPECT_EQ(errorDescriptionText(SystemError(std::string(kPOSIXErrorDomain), ENOENT)),
              "No such file or directory");
}

TEST(ErrorDescription, ofOtherErrorsIsWhat) {
    EXPECT_EQ(errorDescriptionText(std::runtime_error("plain")), "plain");
    EXPECT_EQ(errorDescriptionText(std::make_exception_ptr(Error("thrown"))), "thrown");
    EXPECT_EQ(errorDescriptionText(std::make_exception_ptr(
                  LocalizedError("plain", "What.", std::nullopt, std::nullopt))),
              "What.");
    EXPECT_EQ(errorDescriptionText(std::make_exception_ptr(5)), "An unknown error occurred.");
}

template <class Call>
void expectLoggedFailure(const Call& call, const char* function, const char* domain, int code) {
    const LogCapture log;
    int line = 0;
    try {
        call(line);
        ADD_FAILURE() << domain;
    } catch (const SystemError& error) {
        EXPECT_EQ(error, SystemError(domain, code));
    }
    EXPECT_EQ(log.lines().back(),
              fmt::format("In error_test.cpp operator(), the {} function at line "
                          "{} returned an error: Error Domain={} Code={}.",
                          function, line, domain, code));
}

TEST(StatusErrors, areLoggedWithTheirLocationAndThrown) {
    expectLoggedFailure(
        [](int& line) {
            line = __LINE__ + 1;
            throwDarwinError(-50);
        },
        "Darwin", "NSOSStatusErrorDomain", -50);
    expectLoggedFailure(
        [](int& line) {
            line = __LINE__ + 1;
            throwCoreVideoError(-6660);
        },
        "Core Video", "com.apple.corevideo", -6660);
}

} // namespace
} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include <stdexcept>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "foundation/checked_call.h"
#include "foundation/error.h"
#include "tests/support/log_capture.h"

namespace zelvane {
namespace {

using test::LogCapture;

TEST(ErrorDescription, joinsTheTextsThatAreThere) {
    using Text = std::optional<std::string>;
    struct Case {
        Text description;
        Text reason;
        Text suggestion;
        std::string joined;
    };
    const std::vector<Case> cases{
        {"What.", "Why.", "Help.", "What. Why. Help."},
        {"What.", {}, "Help.", "What. Help."},
        {{}, "Why.", {}, "Why."},
    };
    for (const auto& [description, reason, suggestion, joined] : cases) {
        EXPECT_EQ(errorDescriptionText(LocalizedError("plain", description, reason, suggestion)),
                  joined);
    }
}

TEST(ErrorDescription, ofASystemErrorComesFromItselfThenItsDomainThenItsCode) {
    const std::string domain = "org.example.disk";
    const SystemError described(domain, 3, {{std::string(kLocalizedDescriptionKey), "Own words."}});
    const SystemError bare(domain, 3);
    EXPECT_EQ(errorDescriptionText(described), "Own words.");
    EXPECT_EQ(errorDescriptionText(bare), "Error Domain=org.example.disk Code=3");
    setUserInfoProvider(domain, [](const SystemError& error, std::string_view key) {
        return key == kLocalizedDescriptionKey && error.code() == 3
                   ? std::optional<std::string>("Disk full.")
                   : std::nullopt;
    });
    EXPECT_EQ(errorDescriptionText(bare), "Disk full.");
    EXPECT_EQ(errorDescriptionText(described), "Own words.");
    EXPECT_EQ(errorDescriptionText(SystemError(domain, 4)), "Error Domain=org.example.disk Code=4");
    EXPECT_EQ(errorDescriptionText(SystemError(std::string(kPOSIXErrorDomain), ENOENT)),
              "No such file or directory");
}

TEST(ErrorDescription, ofAnythingElseIsItsPlainText) {
    EXPECT_EQ(errorDescriptionText(std::runtime_error("plain")), "plain");
    EXPECT_EQ(errorDescriptionText(std::make_exception_ptr(Error("thrown"))), "thrown");
    EXPECT_EQ(errorDescriptionText(std::make_exception_ptr(
                  LocalizedError("plain", "What.", std::nullopt, std::nullopt))),
              "What.");
    EXPECT_EQ(errorDescriptionText(std::make_exception_ptr(5)), "An unknown error occurred.");
}

TEST(CheckedCalls, successIsSilent) {
    const LogCapture log;
    checkedDarwinCall([] { return kNoErr; });
    checkedCoreVideoCall([] { return 0; });
    EXPECT_TRUE(log.lines().empty());
}

TEST(CheckedCalls, failuresAreLoggedWithTheirPlaceAndThrown) {
    const LogCapture log;
    int line = 0;
    try {
        line = __LINE__ + 1;
        checkedDarwinCall([] { return OSStatus{-50}; });
        ADD_FAILURE();
    } catch (const SystemError& error) {
        EXPECT_EQ(error, SystemError("NSOSStatusErrorDomain", -50));
    }
    EXPECT_EQ(log.lines().back(),
              fmt::format("In error_test.cpp TestBody, the Darwin function at line {} returned an "
                          "error: Error Domain=NSOSStatusErrorDomain Code=-50.",
                          line));
    try {
        line = __LINE__ + 1;
        checkedCoreVideoCall([] { return CVReturn{-6660}; });
        ADD_FAILURE();
    } catch (const SystemError& error) {
        EXPECT_EQ(error, SystemError("com.apple.corevideo", -6660));
    }
    EXPECT_EQ(log.lines().back(),
              fmt::format("In error_test.cpp TestBody, the Core Video function at line {} returned "
                          "an error: Error Domain=com.apple.corevideo Code=-6660.",
                          line));
}

TEST(CheckedCalls, anExpectedStatusIsThrownInSilence) {
    const LogCapture log;
    EXPECT_THROW(checkedDarwinCall([] { return OSStatus{-50}; }, {-1, -50}), SystemError);
    EXPECT_TRUE(log.lines().empty());
    EXPECT_THROW(checkedDarwinCall([] { return OSStatus{-51}; }, {-1, -50}), SystemError);
    EXPECT_EQ(log.lines().size(), 1U);
}

} // namespace
} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/private_api_gate.h"

#include <gmock/gmock.h>

#include "tests/support/log_capture.h"

namespace zelvane::test {
namespace {

using Slot = PrivateAPIErrorSlot;
using testing::HasSubstr;

struct Case {
    const char* what;
    std::function<void(Slot&)> block;
    int code;
    /// The key besides CallStackSymbols, and its text.
    std::string key;
    std::string text;
};

TEST(PrivateAPIGate, convertsEveryFailureOfABlockToItsOwnDomain) {
    LogCapture log;
    const SystemError foreign("domain", 7, {{std::string(kLocalizedDescriptionKey), "no"}});
    std::size_t failures = 0;
    for (const Case& c : {
             Case{"exception", [](Slot&) { throw std::runtime_error("raised"); }, 0,
                  "UnderlyingNSException", "raised"},
             Case{"text", [](Slot&) { throw std::string("thrown"); }, 1,
                  "UnderlyingObjectiveCExceptionObject", "thrown"},
             Case{"literal", [](Slot&) { throw "thrown"; }, 1,
                  "UnderlyingObjectiveCExceptionObject", "thrown"},
             Case{"number", [](Slot&) { throw 42; }, 2, "", ""},
             Case{"reported", [&](Slot& error) { error = foreign; }, 3, "UnderlyingNSError", "no"},
             Case{"thrown error", [&](Slot&) { throw SystemError(foreign); }, 3,
                  "UnderlyingNSError", "no"},
             Case{"own domain", [](Slot& error) { error = privateAPINullResultError(); }, 4, "",
                  ""},
         }) {
        SCOPED_TRACE(c.what);
        Slot error;
        EXPECT_FALSE(safelyUsePrivateAPI(c.block, &error));
        ASSERT_TRUE(error);
        EXPECT_EQ(*error, SystemError(std::string(kPrivateAPIUsageErrorDomain), c.code));
        EXPECT_EQ(error->userInfo().count("CallStackSymbols"), 1U);
        EXPECT_EQ(error->userInfo().size(), c.key.empty() ? 1U : 2U);
        if (!c.key.empty()) {
            EXPECT_EQ(error->userInfo().at(c.key), c.text);
        }
        EXPECT_EQ(log.count("Failed to use private API: "), ++failures);
    }
}

TEST(PrivateAPIGate, successIsNotLoggedAndKeepsTheSlot) {
    LogCapture log;
    Slot error;
    EXPECT_TRUE(safelyUsePrivateAPI([](Slot&) {}, &error));
    EXPECT_FALSE(error);
    EXPECT_TRUE(log.lines().empty());
}

TEST(PrivateAPIGate, logsAFailureWithoutASlot) {
    LogCapture log;
    EXPECT_FALSE(safelyUsePrivateAPI([](Slot&) { throw std::runtime_error("lost"); }));
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_THAT(log.lines()[0], HasSubstr("lost"));
}

TEST(PrivateAPIGate, prefersTheCallStackOfTheException) {
    LogCapture log;
    Slot error;
    std::string thrownAt;
    safelyUsePrivateAPI(
        [&](Slot&) {
            const PrivateAPIException exception("raised");
            thrownAt = exception.callStackSymbols().front();
            throw PrivateAPIException(exception);
        },
        &error);
    ASSERT_FALSE(thrownAt.empty());
    EXPECT_EQ(error->userInfo().at("CallStackSymbols").rfind(thrownAt, 0), 0U);
}

TEST(PrivateAPIGate, aBlockMayUseTheGate) {
    LogCapture log;
    Slot inner;
    EXPECT_TRUE(safelyUsePrivateAPI(
        [&](Slot&) { EXPECT_FALSE(safelyUsePrivateAPI([](Slot&) { throw 1; }, &inner)); }));
    EXPECT_TRUE(inner);
}

TEST(PrivateAPIGate, logsTheNameOfAMissingSymbol) {
    LogCapture log;
    EXPECT_NE(privateAPISymbol("malloc"), nullptr);
    EXPECT_EQ(privateAPISymbol("zelvaneNoSuchSymbol"), nullptr);
    EXPECT_THAT(log.lines(),
                testing::ElementsAre("Private API symbol zelvaneNoSuchSymbol is unavailable."));
}

} // namespace
} // namespace zelvane::test

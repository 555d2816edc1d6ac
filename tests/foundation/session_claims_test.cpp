// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include "foundation/automatic_termination_manager.h"
#include "foundation/idle_sleep_manager.h"
#include "tests/support/log_capture.h"

namespace zelvane::test {
namespace {

using testing::_;
using testing::DoAll;
using testing::InSequence;
using testing::Return;
using testing::SetArgReferee;

class MockProcessInfo : public ProcessInfo {
  public:
    MOCK_METHOD(void, disableAutomaticTermination, (const std::string&), (override));
    MOCK_METHOD(void, enableAutomaticTermination, (const std::string&), (override));
};

class MockPowerManagement : public PowerManagement {
  public:
    MOCK_METHOD(OSStatus, createDisplayAwakeAssertion, (const std::string&, AssertionID&),
                (override));
    MOCK_METHOD(OSStatus, releaseAssertion, (AssertionID), (override));
};

TEST(SessionClaims, terminationIsDisabledOncePerTransitionAndEnabledAtTheEnd) {
    const auto process = std::make_shared<testing::StrictMock<MockProcessInfo>>();
    const InSequence order;
    EXPECT_CALL(*process, disableAutomaticTermination("load"));
    EXPECT_CALL(*process, enableAutomaticTermination("done"));
    EXPECT_CALL(*process, disableAutomaticTermination("again"));
    EXPECT_CALL(*process,
                enableAutomaticTermination("Automatic Termination Manager was deinitialized."));
    AutomaticTerminationManager manager(process);
    manager.enable("nothing to enable");
    manager.disable("load");
    manager.disable("load twice");
    EXPECT_FALSE(manager.isAutomaticTerminationEnabled());
    manager.enable("done");
    manager.enable("done twice");
    manager.disable("again");
}

TEST(SessionClaims, theDisplayIsKeptAwakeByOneAssertionAndFailuresAreTriedAgain) {
    LogCapture log;
    const auto power = std::make_shared<testing::StrictMock<MockPowerManagement>>();
    const InSequence order;
    EXPECT_CALL(*power, createDisplayAwakeAssertion("play", _)).WillOnce(Return(-5));
    EXPECT_CALL(*power, createDisplayAwakeAssertion("play", _))
        .WillOnce(DoAll(SetArgReferee<1>(7U), Return(kNoErr)));
    EXPECT_CALL(*power, releaseAssertion(7U)).WillOnce(Return(-6));
    EXPECT_CALL(*power, releaseAssertion(7U)).WillOnce(Return(kNoErr));
    {
        IdleSleepManager manager(power);
        manager.allowSleep();
        manager.preventSleep("play");
        manager.preventSleep("play");
        manager.preventSleep("play");
        manager.allowSleep();
    }
    EXPECT_THAT(log.lines(),
                testing::ElementsAre("Failed to create power management assertion to prevent idle "
                                     "sleep: -5.",
                                     "Failed to release the power management assertion that is "
                                     "preventing idle sleep: -6."));
}

} // namespace
} // namespace zelvane::test

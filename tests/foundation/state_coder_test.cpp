// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/state_coder.h"

#include <cmath>

#include <gmock/gmock.h>

namespace zelvane {
namespace {

StateCoder stateNamed(const std::string& name) {
    StateCoder state;
    state.encodeString("name", name);
    return state;
}

TEST(StateCoder, readsWhatItWrote) {
    StateCoder state;
    state.encodeString("string", "“a”\n\"b\"");
    state.encodeBool("bool", true);
    state.encodeInteger("integer", -9'007'199'254'740'993);
    state.encodeFloat("float", 1.3F);
    state.encodeTime("time", CMTime(90'001, 30'000));
    state.encodeState("state", stateNamed("inner"));
    state.encodeStates("states", {stateNamed("a"), stateNamed("b"), stateNamed("c")});
    const auto [read, isComplete] = StateCoder::fromData(state.data());
    EXPECT_TRUE(isComplete);
    EXPECT_EQ(read.data(), state.data());
    EXPECT_EQ(read.decodeString("string"), "“a”\n\"b\"");
    EXPECT_EQ(read.decodeBool("bool"), true);
    EXPECT_EQ(read.decodeInteger("integer"), -9'007'199'254'740'993);
    EXPECT_EQ(read.decodeFloat("float"), 1.3F);
    EXPECT_EQ(read.decodeTime("time"), CMTime(90'001, 30'000));
    EXPECT_EQ(read.decodeState("state")->decodeString("name"), "inner");
    const auto states = read.decodeStates("states", 2);
    ASSERT_EQ(states.size(), 2U) << "no more than the maximum";
    EXPECT_EQ(states[1].decodeString("name"), "b");
}

TEST(StateCoder, refusesValuesThatAKeyCannotHave) {
    const auto state = StateCoder::fromData(R"({"string":"1","bool":true,"real":1.5,"null":null,
        "large":18446744073709551615,"huge":1e300,"list":[1,"a",{"name":"x"},[{}]],
        "zero":{"value":1,"timescale":0},"wide":{"value":1,"timescale":4294967296},
        "half":{"value":1}})")
                           .state;
    EXPECT_FALSE(state.decodeString("bool") || state.decodeString("null"));
    EXPECT_FALSE(state.decodeBool("string") || state.decodeBool("absent"));
    EXPECT_FALSE(state.decodeInteger("real") || state.decodeInteger("large") ||
                 state.decodeInteger("bool"));
    EXPECT_FALSE(state.decodeFloat("huge") || state.decodeFloat("string"));
    EXPECT_FALSE(state.decodeTime("zero") || state.decodeTime("wide") || state.decodeTime("half"));
    EXPECT_FALSE(state.decodeState("list") || state.decodeState("string"));
    EXPECT_TRUE(state.decodeStates("zero", 9).empty());
    EXPECT_EQ(state.decodeStates("list", 9).size(), 1U);
    StateCoder times;
    for (const CMTime& time : {kCMTimeInvalid, kCMTimeIndefinite, kCMTimePositiveInfinity}) {
        times.encodeTime("time", time);
        EXPECT_FALSE(times.decodeTime("time")) << time.description();
    }
}

TEST(StateCoder, readsWholeValuesOfDataThatIsCutAnywhere) {
    StateCoder state;
    state.encodeInteger("first", 1);
    state.encodeStates("list", {stateNamed("a"), stateNamed("b")});
    const std::string data = state.data();
    std::size_t known = 0;
    for (std::size_t length = 0; length < data.size(); ++length) {
        const auto [read, isComplete] = StateCoder::fromData(data.substr(0, length));
        EXPECT_FALSE(isComplete);
        const auto list = read.decodeStates("list", 9);
        ASSERT_GE(list.size(), known);
        known = list.size();
        for (std::size_t i = 0; i < list.size(); ++i) {
            EXPECT_EQ(list[i].data(), stateNamed(i == 0 ? "a" : "b").data());
        }
    }
    EXPECT_EQ(known, 2U) << "both entries were whole before the end";
}

TEST(StateCoder, foreignDataIsNotComplete) {
    const std::string deep(1'000'000, '[');
    for (const std::string& data :
         {std::string(), std::string("[1]"), std::string("\xff\xfe{}"), std::string("7"), deep,
          R"({"a":)" + deep, std::string("{}x")}) {
        EXPECT_FALSE(StateCoder::fromData(data).isComplete) << data.substr(0, 9);
    }
    StateCoder latin;
    latin.encodeString("name", "\xe4");
    EXPECT_TRUE(StateCoder::fromData(latin.data()).isComplete);
}

} // namespace
} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "foundation/user_defaults.h"

namespace zelvane {
namespace {

TEST(UserDefaults, registeredValuesAnswerForAbsentOnes) {
    UserDefaults defaults;
    defaults.registerDefaults({{"volume", 0.5}, {"rate", std::int64_t{2}}});
    defaults.registerDefaults({{"rate", std::int64_t{3}}});
    EXPECT_EQ(defaults.doubleForKey("volume"), 0.5);
    EXPECT_EQ(defaults.integerForKey("rate"), 3);
    defaults.set("volume", 0.25);
    EXPECT_EQ(defaults.doubleForKey("volume"), 0.25);
    defaults.set("volume", std::nullopt);
    EXPECT_EQ(defaults.doubleForKey("volume"), 0.5);
    defaults.set("volume", 0.25);
    defaults.setStore(nullptr);
    EXPECT_EQ(defaults.doubleForKey("volume"), 0.5) << "an empty store";
    EXPECT_EQ(defaults.value("unknown"), std::nullopt);
}

TEST(UserDefaults, valuesConvertAsFarAsTheyMeanSomething) {
    struct Case {
        DefaultsValue value;
        bool asBool;
        std::int64_t asInteger;
        double asDouble;
    };
    const std::vector<Case> cases{
        {true, true, 1, 1},
        {false, false, 0, 0},
        {std::int64_t{-7}, true, -7, -7},
        {std::int64_t{9007199254740993}, true, 9007199254740993, 9007199254740992.0},
        {2.75, true, 2, 2.75},
        {1e30, true, 0, 1e30},
        {std::string("YES"), true, 1, 1},
        {std::string("true"), true, 1, 1},
        {std::string("12.5 dB"), true, 12, 12.5},
        {std::string("0"), false, 0, 0},
        {std::string("loud"), false, 0, 0},
        {std::string("9007199254740993"), true, 9007199254740993, 9007199254740992.0},
        {std::vector<std::string>{"1"}, false, 0, 0},
    };
    UserDefaults defaults;
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const auto& [value, asBool, asInteger, asDouble] = cases[i];
        defaults.set("key", value);
        EXPECT_EQ(defaults.boolForKey("key"), asBool) << i;
        EXPECT_EQ(defaults.integerForKey("key"), asInteger) << i;
        EXPECT_EQ(defaults.doubleForKey("key"), asDouble) << i;
    }
    defaults.set("text", std::string("a"));
    defaults.set("list", std::vector<std::string>{"a", "b"});
    EXPECT_EQ(defaults.stringForKey("text"), "a");
    EXPECT_EQ(defaults.stringForKey("list"), "a, b");
    EXPECT_EQ(defaults.stringsForKey("list"), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(defaults.stringsForKey("text"), std::vector<std::string>{"a"});
    defaults.set("text", std::string());
    EXPECT_TRUE(defaults.stringsForKey("text").empty());
    EXPECT_TRUE(defaults.stringsForKey("absent").empty());
}

} // namespace
} // namespace zelvane

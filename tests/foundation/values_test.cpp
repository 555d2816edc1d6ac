// SPDX-License-Identifier: GPL-3.0-or-later
#include <set>

#include <gmock/gmock.h>

#include "foundation/geometry.h"
#include "foundation/uuid.h"

namespace zelvane {
namespace {

TEST(UUID, isANewOneOfVersion4) {
    std::set<std::string> seen;
    for (int i = 0; i < 200; ++i) {
        const std::string uuid = makeUUIDString();
        EXPECT_THAT(uuid, testing::MatchesRegex("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-"
                                                "[89AB][0-9A-F]{3}-[0-9A-F]{12}"));
        EXPECT_TRUE(seen.insert(uuid).second) << uuid;
    }
}

TEST(AffineTransform, givesTheBoundingBox) {
    struct Case {
        CGAffineTransform transform;
        CGRect result;
    };
    const CGRect picture{10, 20, 640, 360};
    const std::vector<Case> cases{
        {kCGAffineTransformIdentity, picture},
        {{0, 1, -1, 0, 0, 0}, {-380, 10, 360, 640}},
        {{-1, 0, 0, -1, 660, 400}, {10, 20, 640, 360}},
        {{-1, 0, 0, 1, 0, 0}, {-650, 20, 640, 360}},
        {{2, 0, 0, 0.5, 5, 6}, {25, 16, 1280, 180}},
        {{1, 1, -1, 1, 0, 0}, {-370, 30, 1000, 1000}},
    };
    for (const auto& [transform, result] : cases) {
        EXPECT_EQ(applyAffineTransform(picture, transform), result);
    }
}

} // namespace
} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/media_file_names.h"

#include <gmock/gmock.h>

#include "tests/support/clips.h"

namespace zelvane {
namespace {

TEST(MediaFileNames, haveTheExtensionsOfRealMediaAndNotOfOtherFiles) {
    const auto extensions = mediaFileNameExtensions();
    EXPECT_THAT(extensions, testing::WhenSorted(testing::ContainerEq(extensions)));
    for (const char* other : {"srt", "ass", "sub", "txt", "nfo", "jpg", "png", "avif", "yuv", ""}) {
        EXPECT_THAT(extensions, testing::Not(testing::Contains(other)));
    }
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    for (const auto& file : std::filesystem::directory_iterator(media / "containers")) {
        EXPECT_THAT(extensions, testing::Contains(file.path().extension().string().substr(1)));
    }
}

} // namespace
} // namespace zelvane

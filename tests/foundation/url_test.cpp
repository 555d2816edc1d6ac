// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/url.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/text.h"

namespace zelvane {
namespace {

struct Parsed {
    std::string text;
    std::string scheme;
    bool isFileURL;
    std::string path;
    std::string lastPathComponent;
};

TEST(URL, parsesTextByItsScheme) {
    const std::vector<Parsed> cases{
        {"http://host/a/b.mp4?x=1#t", "http", false, "/a/b.mp4", "b.mp4"},
        {"http://host?x", "http", false, "", ""},
        {"HTTP://host", "HTTP", false, "", ""},
        {"rtsp+tls-1.0://h/x", "rtsp+tls-1.0", false, "/x", "x"},
        {"file:///films/a%20b%25.mkv", "file", true, "/films/a b%.mkv", "a b%.mkv"},
        {"FILE://localhost/a", "FILE", true, "/a", "a"},
        {"file:/a/b/", "file", true, "/a/b/", "b"},
        {"file:///", "file", true, "/", "/"},
        {"film.mp4", "", false, "film.mp4", "film.mp4"},
        {"films/1:2.mp4", "", false, "films/1:2.mp4", "1:2.mp4"},
        {"2001: a film.mkv", "", false, "2001: a film.mkv", "2001: a film.mkv"},
        {":x", "", false, ":x", ":x"},
        {"", "", false, "", ""},
        // A broken escape is kept, and an escaped NUL must not shorten the path.
        {"file:///100%", "file", true, "/100%", "100%"},
        {"file:///%zz%2", "file", true, "/%zz%2", "%zz%2"},
        {"file:///secret%00.mp4", "file", true, "/secret%00.mp4", "secret%00.mp4"},
    };
    for (const Parsed& expected : cases) {
        SCOPED_TRACE(expected.text);
        const URL url = URL::parse(expected.text);
        EXPECT_EQ(url.scheme(), expected.scheme);
        EXPECT_EQ(url.isFileURL(), expected.isFileURL);
        EXPECT_EQ(url.path(), expected.path);
        EXPECT_EQ(url.lastPathComponent(), expected.lastPathComponent);
        EXPECT_EQ(url.absoluteString(), expected.text);
    }
}

TEST(URL, keepsAPathThroughItsText) {
    for (const std::string path :
         {"/a b", "/100%", "/%20", "/a?b#c", "/\xff\x01\n", "/ü/日本.mkv"}) {
        const URL url = URL::fromPath(path);
        EXPECT_EQ(url.path(), path);
        EXPECT_TRUE(url.isFileURL());
        EXPECT_EQ(URL::parse(url.absoluteString()), url);
    }
    EXPECT_EQ(URL::fromPath("/a b%/ü").absoluteString(), "file:///a%20b%25/%C3%BC");
}

TEST(URL, resolvesARelativePathInTheWorkingFolder) {
    const auto expected = (std::filesystem::current_path() / "film.mkv").string();
    EXPECT_EQ(URL::fromPath("film.mkv").path(), expected);
}

TEST(Text, trimsWhiteSpaceOfAnyScriptAtBothEnds) {
    EXPECT_EQ(trimmingWhitespace(" \t\r\n a b \n"), "a b");
    EXPECT_EQ(trimmingWhitespace("\u3000\u00a0日本\u2028\u0085"), "日本");
    EXPECT_EQ(trimmingWhitespace(" \u2003 "), "");
    EXPECT_EQ(trimmingWhitespace("\xe3\x80"), "\xe3\x80");
}

} // namespace
} // namespace zelvane

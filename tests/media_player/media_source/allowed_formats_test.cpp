// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/allowed_formats.h"

#include <thread>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "foundation/file_descriptor.h"
#include "tests/media_player/media_source/media_source_support.h"
#include "tests/support/log_capture.h"

namespace zelvane {
namespace {

/// A folder with a clip and files that name it.
class Playlists : public testing::Test {
  protected:
    Playlists() {
        std::filesystem::copy_file(
            test::madeClip("playlist-segment.ts",
                           "-f lavfi -i testsrc2=size=32x32:rate=5:duration=1 -c:v mpeg2video"),
            folder_.path() / "segment.ts");
    }

    static std::string hlsOf(const std::string& segment) {
        return "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n" + segment + "\n#EXT-X-ENDLIST\n";
    }
    /// Whether a file of this name and content is opened.
    bool isOpened(const std::string& name, const std::string& content) const {
        const auto path = test::written(folder_.path() / name, content);
        try {
            return makeInputFormatContext(URL::fromPath(path))->nb_streams > 0;
        } catch (const FFmpegError& error) {
            EXPECT_EQ(error, FFmpegError::fromStatus(AVERROR_INVALIDDATA)) << name;
            return false;
        }
    }

    test::TemporaryFolder folder_;
    test::LogCapture log_;
};

TEST_F(Playlists, areReadUnderTheirOwnExtensionOnly) {
    const std::string hls = hlsOf("segment.ts");
    const std::string concat = "ffconcat version 1.0\nfile segment.ts\n";
    EXPECT_TRUE(isOpened("list.m3u8", hls));
    EXPECT_TRUE(isOpened("LIST.M3U", hls));
    EXPECT_TRUE(isOpened("list.ffconcat", concat));
    EXPECT_FALSE(isOpened("film.mkv", hls));
    EXPECT_FALSE(isOpened("film.mpd", hls));
    EXPECT_FALSE(isOpened("film.mp4", concat));
    EXPECT_FALSE(isOpened("film", concat));
}

TEST_F(Playlists, areNotReadFromOtherHosts) {
    const FileDescriptor server(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    ASSERT_EQ(bind(server.get(), generic, size), 0);
    ASSERT_EQ(listen(server.get(), 1), 0);
    ASSERT_EQ(getsockname(server.get(), generic, &size), 0);
    const auto url = fmt::format("http://127.0.0.1:{}/a.ts", ntohs(address.sin_port));
    int connections = 0;
    // A connection is closed at once, so that a client fails instead of waiting for an answer.
    std::jthread accepting([&] {
        while (FileDescriptor(accept(server.get(), nullptr, nullptr)).isOpen()) {
            ++connections;
        }
    });
    EXPECT_FALSE(isOpened("list.m3u8", hlsOf(url)));
    shutdown(server.get(), SHUT_RDWR);
    accepting.join();
    EXPECT_EQ(connections, 0);
}

TEST_F(Playlists, doNotResultFromPatternsInPictureNames) {
    const auto picture = test::bytesOf(
        test::madeClip("pattern.png", "-f lavfi -i color=size=16x16:rate=1 -frames:v 1"));
    for (const char* name : {"a1.png", "a2.png", "a3.png", "a%d.png"}) {
        test::written(folder_.path() / name, picture);
    }
    const auto context = makeInputFormatContext(URL::fromPath(folder_.path() / "a%d.png"));
    EXPECT_LE(context->streams[0]->nb_frames, 1);
    EXPECT_LE(context->duration, AV_TIME_BASE / 25);
}

TEST(AllowedFormats, areThoseThatHoldTheirMediaAndThePlaylistsOfTheExtension) {
    const auto isAllowed = [](const char* format, const std::string& path) {
        const std::string names = "," + allowedFormats(path) + ",";
        return names.find("," + std::string(format) + ",") != std::string::npos;
    };
    for (const char* format : {"concat", "dash", "hls", "imf", "rtsp", "sdp"}) {
        EXPECT_FALSE(isAllowed(format, "/a.m3u8/film.mkv")) << format;
    }
    for (const char* format : {"matroska", "mov", "mpegts", "srt", "vobsub"}) {
        EXPECT_TRUE(isAllowed(format, "/film")) << format;
    }
    EXPECT_TRUE(isAllowed("dash", "/film.MPD"));
    EXPECT_FALSE(isAllowed("sdp", "/film.sdp"));
}

} // namespace
} // namespace zelvane

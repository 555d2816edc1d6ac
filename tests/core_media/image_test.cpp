// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "core_media/ffmpeg_handles.h"
#include "core_media/image.h"
#include "tests/support/clips.h"

namespace zelvane {
namespace {

namespace fs = std::filesystem;

ImageRef decoded(const std::string& bytes) {
    const ffmpeg::AVPacketHandle packet(av_packet_alloc());
    if (av_new_packet(packet.get(), static_cast<int>(bytes.size())) < 0) {
        ADD_FAILURE() << "no memory";
        return nullptr;
    }
    std::memcpy(packet->data, bytes.data(), bytes.size());
    return decodeImage(*packet);
}

/// The left half of one colour, the right of another.
std::string picture(const std::string& extension, const std::vector<std::string>& options = {}) {
    std::vector<std::string> arguments{
        "-f", "lavfi", "-i",
        "color=0xC04020:s=20x30:d=0.04[a];color=0x2060A0:s=20x30:d=0.04[b];[a][b]hstack"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.insert(arguments.end(), {"-frames:v", "1"});
    return test::bytesOf(test::madeClip("image-two-colours." + extension, arguments));
}

std::array<int, 4> pixel(const Image& image, int x, int y) {
    const auto* const at =
        image.pixels.data() + (static_cast<std::size_t>(y) * image.width + x) * 4;
    return {at[0], at[1], at[2], at[3]};
}

void expectNear(const std::array<int, 4>& found, const std::array<int, 4>& expected) {
    // The error of JPEG and WebP.
    constexpr int kTolerance = 3;
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_NEAR(found.at(i), expected.at(i), kTolerance) << "component " << i;
    }
}

TEST(Image, eachFormatGivesItsColours) {
    struct Format {
        std::string name;
        std::string extension;
        std::vector<std::string> options;
    };
    for (const Format& format : {
             Format{"JPEG", "jpg", {"-pix_fmt", "yuvj420p", "-q:v", "1"}},
             Format{"JPEG", "444.jpg", {"-pix_fmt", "yuvj444p", "-q:v", "1"}},
             Format{"PNG", "png", {"-pix_fmt", "rgb24"}},
             Format{"PNG", "48.png", {"-pix_fmt", "rgb48be"}},
             Format{"PNG", "pal.png", {"-vf", "split[a][b];[a]palettegen[p];[b][p]paletteuse"}},
             Format{"GIF", "gif", {"-vf", "split[a][b];[a]palettegen[p];[b][p]paletteuse"}},
             Format{"BMP", "bmp", {"-pix_fmt", "bgr24"}},
             Format{"WebP", "webp", {"-c:v", "libwebp", "-q:v", "100"}},
             Format{"WebP", "lossless.webp", {"-c:v", "libwebp", "-lossless", "1"}},
         }) {
        SCOPED_TRACE(format.extension);
        const auto image = decoded(picture(format.extension, format.options));
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(image->format, format.name);
        EXPECT_EQ(image->width, 40);
        EXPECT_EQ(image->height, 30);
        ASSERT_EQ(image->pixels.size(), 40U * 30 * 4);
        for (const int y : {0, 15, 29}) {
            expectNear(pixel(*image, 2, y), {0xc0, 0x40, 0x20, 0xff});
            expectNear(pixel(*image, 37, y), {0x20, 0x60, 0xa0, 0xff});
        }
    }
}

TEST(Image, keepsAlphaUnmultiplied) {
    const auto image = decoded(
        picture("alpha.png", {"-vf", "format=rgba,colorchannelmixer=aa=0.5", "-pix_fmt", "rgba"}));
    ASSERT_NE(image, nullptr);
    expectNear(pixel(*image, 2, 2), {0xc0, 0x40, 0x20, 0x80});
}

TEST(Image, refusesOtherAndDamagedFiles) {
    const std::string png = picture("png", {"-pix_fmt", "rgb24"});
    std::string huge = png;
    huge.replace(16, 8, std::string("\0\0\xea\x60\0\0\xea\x60", 8)); // 60000 x 60000
    std::string large = png;
    large.replace(16, 8, std::string("\0\0\x20\x00\0\0\x10\x01", 8)); // a row above the limit
    for (const auto& [name, bytes] : {
             std::pair<std::string, std::string>{"nothing", ""},
             {"text", "no picture"},
             {"only a signature", png.substr(0, 8)},
             {"only a header", png.substr(0, 33)},
             {"another kind of RIFF", std::string("RIFF\x24\0\0\0WAVEfmt ", 16)},
             {"a kind cut off", "RIFF\x24"},
             {"BM and nothing", "BM"},
             {"huge", huge},
             {"large", large},
         }) {
        EXPECT_EQ(decoded(bytes), nullptr) << name;
    }
}

} // namespace
} // namespace zelvane

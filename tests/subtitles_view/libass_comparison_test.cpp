// SPDX-License-Identifier: GPL-3.0-or-later
//
// Compares real scripts as this player and libass draw them.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "media_player/decoders/subtitles/ffmpeg_subtitles_frame_decoder.h"
#include "subtitles_view/formatted_text_subtitle_view.h"
#include "tests/media_player/decoders/demuxed_stream.h"
#include "tests/subtitles_view/picture_meter.h"
#include "tests/support/clips.h"

namespace zelvane {
namespace {

namespace fs = std::filesystem;
using test::Ink;
using test::inkOf;

constexpr QSize kFrameSize(1280, 720);
/// Neither light as letters nor dark as outlines are.
const QColor kGround(0, 0, 120);
/// In libass a font's size is the sum of its ascent and descent, instead of the em. For this font:
constexpr const char* kFamily = "DejaVu Sans";
constexpr double kSizeInLibass = 2048.0 / (1901 + 483);
/// Of the picture's height.
constexpr double kTolerance = 0.02;
constexpr double kToleranceOfOutline = 1.5;

struct Script {
    const char* name;
    double time;
};

/// Times with one or two lines at the bottom, in the colours of the style, which both support.
constexpr std::array kScripts{
    Script{"Prass_test_script.ass", 5.0},
    Script{"Prass_cleanup_script.ass", 8.0},
    Script{"FontCollector_sample.ass", 2.0},
    Script{"FontCollector_WrapStyle.ass", 2.0},
    Script{"FontCollector_Usage_Data_Test.ass", 2.0},
    Script{"Aegisub_raytracer-test1.ass", 2.0},
    Script{"Aegisub_furi-test.ass", 42.0},
    Script{"Aegisub_template-scripting-ideas.ass", 97.0},
    Script{"ArtPlayer_style-test.ass", 41.0},
    Script{"libasstests_aegisub-format-tests.ass", 1.0},
};

double seconds(const CMTime& time) {
    return static_cast<double>(time.value()) / time.timescale();
}

/// The same in the packaged font: the replacement of a missing font differs between machines.
FormattedTextSubtitle inPackagedFont(const FormattedTextSubtitle& subtitle) {
    AttributedString text = *subtitle.formattedText;
    text.updateAttributes([](StringAttributes& look) {
        if (look.font) {
            look.font->familyName = kFamily;
        }
    });
    return {std::make_shared<const AttributedString>(std::move(text)), subtitle.style};
}

std::vector<FormattedTextSubtitle> subtitlesAt(const fs::path& path, double time) {
    const test::DemuxedStream source(path, AVMEDIA_TYPE_SUBTITLE);
    FFmpegSubtitlesFrameDecoder decoder(source.stream());
    std::vector<FormattedTextSubtitle> result;
    for (const auto& packet : source.packets()) {
        const auto frame = decoder.dequeueFrame(*packet);
        if (frame && seconds(frame->startTime) <= time && time < seconds(frame->endTime)) {
            const auto& lines = std::get<std::vector<FormattedTextSubtitle>>(frame->subtitles);
            std::transform(lines.begin(), lines.end(), std::back_inserter(result), inPackagedFont);
        }
    }
    return result;
}

QImage ourPicture(const fs::path& path, double time) {
    QImage image(kFrameSize, QImage::Format_RGB32);
    image.fill(kGround);
    QPainter painter(&image);
    for (const FormattedTextSubtitle& subtitle : subtitlesAt(path, time)) {
        FormattedTextSubtitleView view(subtitle, true);
        view.setSize(kFrameSize, 1);
        view.paint(painter);
    }
    return image;
}

QImage pictureOfLibass(const fs::path& path, double time) {
    const std::string ground =
        fmt::format("color=0x{:02x}{:02x}{:02x}:s={}x{}:r=10,format=bgr0", kGround.red(),
                    kGround.green(), kGround.blue(), kFrameSize.width(), kFrameSize.height());
    const std::string filter =
        fmt::format("setpts=PTS+{}/TB,subtitles=filename='{}':force_style='FontName={}'", time,
                    path.string(), kFamily);
    const fs::path picture =
        test::madeClip("libass-" + path.stem().string() + ".png",
                       {"-f", "lavfi", "-i", ground, "-vf", filter, "-frames:v", "1"});
    return QImage(QString::fromStdString(picture.string())).convertToFormat(QImage::Format_RGB32);
}

int difference(QColor a, QColor b) {
    return std::max({std::abs(a.red() - b.red()), std::abs(a.green() - b.green()),
                     std::abs(a.blue() - b.blue())});
}

QColor commonest(const QImage& image, const test::ColorTest& passes) {
    std::map<QRgb, int> counts;
    std::pair<QRgb, int> best{0, 0};
    test::forEachPixel(image, passes, image.rect(), [&](int, int, QRgb pixel) {
        const int count = ++counts[pixel];
        best = count > best.second ? std::pair(pixel, count) : best;
    });
    return QColor(best.first);
}

bool isLetter(QColor color) {
    return std::max(color.red(), color.green()) > 160;
}
bool isOutline(QColor color) {
    return std::max({color.red(), color.green(), color.blue()}) < 60;
}

struct Measures {
    Ink letters;
    QColor letterColor;
    QColor outlineColor;
    /// The mean width of the outline on the left and above, where no shadow lies.
    double outline = 0;

    double middle() const { return (letters.left() + letters.right()) / 2.0; }
};

Measures measured(const QImage& image) {
    Measures measures;
    measures.letters = inkOf(image, isLetter);
    const Ink all = inkOf(image, [](QColor c) { return difference(c, kGround) > 60; });
    measures.outline =
        (measures.letters.left() - all.left() + measures.letters.top() - all.top()) / 2.0;
    measures.letterColor = commonest(image, isLetter);
    measures.outlineColor = commonest(image, isOutline);
    return measures;
}

TEST(LibassComparison, supportedScriptsLookAlike) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    const double tolerance = kTolerance * kFrameSize.height();
    for (const Script& script : kScripts) {
        SCOPED_TRACE(script.name);
        const fs::path path = media / "ass-scripts" / script.name;
        const Measures ours = measured(ourPicture(path, script.time));
        const Measures theirs = measured(pictureOfLibass(path, script.time));
        ASSERT_GT(theirs.letters.count, 100);
        EXPECT_NEAR(ours.middle(), theirs.middle(), tolerance);
        EXPECT_NEAR(ours.letters.bottom(), theirs.letters.bottom(), tolerance);
        EXPECT_NEAR(ours.letters.bounds.width() * kSizeInLibass, theirs.letters.bounds.width(),
                    tolerance);
        EXPECT_NEAR(ours.outline, theirs.outline, kToleranceOfOutline);
        EXPECT_LE(difference(ours.letterColor, theirs.letterColor), 6);
        EXPECT_LE(difference(ours.outlineColor, theirs.outlineColor), 6);
    }
}

} // namespace
} // namespace zelvane

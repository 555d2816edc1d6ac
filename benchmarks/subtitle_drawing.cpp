// SPDX-License-Identifier: GPL-3.0-or-later
//
// Measures how long the window's thread is busy with a new subtitle of two lines, and with each
// later paint of it. It measures processor time of that thread, which other programs influence
// less. All subtitles differ.
//
//   subtitle-drawing [SUBTITLES]

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>

#include <QGuiApplication>
#include <QImage>
#include <QPainter>

#include "foundation/notification_center.h"
#include "foundation/user_defaults.h"
#include "media_player/decoders/subtitles/caption_appearance.h"
#include "media_player/decoders/subtitles/subtitle_text_style_manager.h"
#include "subtitles_view/formatted_text_subtitle_view.h"
#include "text/font_catalog.h"

namespace zelvane {
namespace {

double now() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

double percentile(std::vector<double> times, double part) {
    std::sort(times.begin(), times.end());
    return times[static_cast<std::size_t>(part * static_cast<double>(times.size() - 1))];
}

SubtitleTextStyle scriptStyle(double outline, double shadow) {
    SubtitleTextStyle style;
    StringAttributes& look = style.textAttributes.underlyingTextAttributes;
    look.font = FontCatalog::shared().helvetica(54);
    look.foregroundColor = kWhiteColor;
    look.strokeWidth = -200 * outline / 54;
    look.strokeColor = kBlackColor;
    if (shadow > 0) {
        look.shadow = TextShadow{{shadow, -shadow}, 0, kBlackColor.withAlpha(0.6)};
    }
    style.overlayStyle.backgroundColor = kClearWhiteColor;
    style.containerInsets = {40, 60, 40, 60};
    style.scalingInfo = {54, 5, 1};
    return style;
}

SubtitleTextStyle captionStyle() {
    const UserDefaults defaults;
    NotificationCenter center;
    return userSpecifiedTextStyle(CaptionAppearance(defaults, center));
}

FormattedTextSubtitle lines(int number, const SubtitleTextStyle& style) {
    StringAttributes look = style.textAttributes.underlyingTextAttributes;
    AttributedString text(fmt::format("Where were you on night {}?\n", number * 7919), look);
    look.font = look.font->havingTraits(kItalicFontMask);
    text.append(fmt::format("At home, of course, with {} others.", number * 104729 % 9973), look);
    return {std::make_shared<const AttributedString>(text), style};
}

struct Kind {
    const char* name;
    SubtitleTextStyle style;
    QSize size;
    double firstPaint = 0;
    std::vector<double> firstPaints;
    std::vector<double> laterPaints;
};

void draw(Kind& kind, int number, QImage& screen) {
    const FormattedTextSubtitle subtitle = lines(number, kind.style);
    QPainter painter(&screen);
    const double begin = now();
    FormattedTextSubtitleView view(subtitle, true);
    view.setSize(kind.size, 1);
    view.paint(painter);
    const double shown = now();
    view.paint(painter);
    kind.laterPaints.push_back(now() - shown);
    kind.firstPaints.push_back(shown - begin);
    kind.firstPaint = number == 1 ? shown - begin : kind.firstPaint;
}

void run(int count) {
    const QSize hd(1920, 1080);
    const QSize uhd(3840, 2160);
    std::vector<Kind> kinds{
        {"outline and shadow, 1080p", scriptStyle(3, 2), hd, 0, {}, {}},
        {"thin outline and soft shadow, 1080p", captionStyle(), hd, 0, {}, {}},
        {"outline, 1080p", scriptStyle(3, 0), hd, 0, {}, {}},
        {"outline and shadow, 2160p", scriptStyle(3, 2), uhd, 0, {}, {}},
    };
    QImage screen(uhd, QImage::Format_RGB32);
    screen.fill(Qt::black);
    for (int number = 1; number <= count; ++number) {
        for (Kind& kind : kinds) {
            draw(kind, number, screen);
        }
    }
    fmt::print("| Two lines | very first ms | first paint, p50 ms | first paint, p95 ms |"
               " later paints ms |\n|---|---|---|---|---|\n");
    for (const Kind& kind : kinds) {
        fmt::print("| {} | {:.1f} | **{:.1f}** | {:.1f} | **{:.2f}** |\n", kind.name,
                   kind.firstPaint, percentile(kind.firstPaints, 0.5),
                   percentile(kind.firstPaints, 0.95), percentile(kind.laterPaints, 0.5));
    }
}

} // namespace
} // namespace zelvane

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    zelvane::run(argc > 1 ? std::max(1, std::atoi(argv[1])) : 300);
    return 0;
}

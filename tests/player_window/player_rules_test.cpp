// SPDX-License-Identifier: GPL-3.0-or-later
#include <QDir>
#include <QFile>
#include <QMimeData>
#include <QUrl>

#include <gtest/gtest.h>

#include "foundation/dispatch.h"
#include "player_window/dropped_subtitles.h"
#include "player_window/player/loop_marks.h"
#include "player_window/player/screenshot.h"
#include "tests/support/clips.h"

namespace zelvane {
namespace {

TEST(LoopMarks, theKeySetsBothMarksAndRemovesThem) {
    const CMTime duration(60, 1);
    const auto at = [](std::int64_t tenths) { return CMTime(tenths, 10); };
    const struct {
        LoopMarks marks;
        CMTime now;
        LoopMarks after;
    } cases[] = {
        {{}, at(50), {at(50)}},
        {{at(50)}, at(80), {at(50), at(80)}},
        {{at(80)}, at(50), {at(50), at(80)}},
        {{at(50)}, CMTime(505, 100), {}},
        {{at(50), at(80)}, at(60), {}},
        {{at(50)}, duration, {at(50), CMTime(5995, 100)}},
        {{duration}, duration, {}},
    };
    for (const auto& given : cases) {
        EXPECT_EQ(marksAfterKey(given.marks, given.now, duration), given.after)
            << given.now.description();
    }
}

TEST(Screenshot, namesAreSafeForFileSystems) {
    EXPECT_EQ(screenshotName("The Ferryman", 2467.9), "The Ferryman 00-41-07");
    EXPECT_EQ(screenshotName("../a/b\\c\n d\x01", 0), "-a-b-c d- 00-00-00");
    EXPECT_EQ(screenshotName("...", 0), "Screenshot 00-00-00");
    EXPECT_LE(screenshotName(QString(1000, QChar(0x96ea)), 0).toUtf8().size(), 200);
}

TEST(Screenshot, replacesNoFileAndReportsAFailure) {
    const test::TemporaryFolder temporary;
    const QString folder = QString::fromStdString((temporary.path() / "new").string());
    const auto queue = std::make_shared<dispatch::RunLoopQueue>();
    dispatch::setMainQueue(queue);
    QImage image(4, 4, QImage::Format_RGB32);
    const auto save = [&](const QString& path) {
        std::optional<QString> saved;
        saveScreenshot(image, path, "film", [&](const QString& name) { saved = name; });
        queue->runUntil([&] { return saved.has_value(); }, std::chrono::seconds(30));
        return saved.value_or("never");
    };
    image.fill(Qt::red);
    EXPECT_EQ(save(folder), "film.png");
    image.fill(Qt::blue);
    EXPECT_EQ(save(folder), "film (2).png");
    EXPECT_EQ(QImage(folder + "/film.png").pixelColor(1, 1), QColor(Qt::red));
    EXPECT_EQ(save(folder + "/film.png"), "") << "a file is no folder";
    dispatch::setMainQueue(nullptr);
}

TEST(DroppedMedia, areFilesButNoSubtitles) {
    const test::TemporaryFolder temporary;
    const auto path = [&](const std::string& name) { return (temporary.path() / name).string(); };
    QDir().mkdir(QString::fromStdString(path("folder.mkv")));
    QMimeData data;
    QList<QUrl> urls{QUrl("http://host/film.mkv")};
    for (const char* name : {"a.mkv", "b.srt", "c.SRT", "folder.mkv", "d", "e f.mp3"}) {
        urls << QUrl::fromLocalFile(QString::fromStdString(path(name)));
    }
    data.setUrls(urls);
    EXPECT_EQ(droppedMedia(data),
              (std::vector<URL>{URL::fromPath(path("a.mkv")), URL::fromPath(path("d")),
                                URL::fromPath(path("e f.mp3"))}));
}

} // namespace
} // namespace zelvane

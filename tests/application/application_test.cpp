// SPDX-License-Identifier: GPL-3.0-or-later
#include <fstream>
#include <thread>

#include <QDir>
#include <QDropEvent>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QKeyEvent>
#include <QMessageBox>
#include <QMimeData>
#include <QPixmap>
#include <QProcess>
#include <QScreen>
#include <QUrl>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "application/media_player_document.h"
#include "application/qt_main_queue.h"
#include "application/settings_file_watcher.h"
#include "application/settings_store.h"
#include "tests/player_window/window_test_support.h"
#include "tests/support/clips.h"

namespace zelvane {
namespace {

TEST(QtMainQueue, tasksRunOnTheMainThreadInTheirOrder) {
    QtMainQueue queue;
    std::vector<int> order;
    std::thread worker([&] {
        queue.async([&] { order.push_back(1); });
        queue.syncTask([&] {
            EXPECT_TRUE(queue.isCurrent());
            order.push_back(2);
        });
        EXPECT_FALSE(queue.isCurrent());
        order.push_back(3);
    });
    EXPECT_TRUE(test::runUntil([&] { return order.size() == 3; }));
    worker.join();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(SettingsStore, valuesOutliveTheStoreAndCanBeRemoved) {
    const test::TemporaryFolder folder;
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope,
                       QString::fromStdString(folder.path().string()));
    {
        UserDefaults defaults(std::make_unique<SettingsStore>());
        defaults.set("rate", 1.25);
        defaults.set("loops", true);
        defaults.set("name", std::string("Größe, \"quoted\""));
        defaults.set("list", std::vector<std::string>{"de", "a, b"});
        defaults.set("gone", std::int64_t{7});
        defaults.set("gone", std::nullopt);
    }
    const UserDefaults defaults(std::make_unique<SettingsStore>());
    EXPECT_EQ(defaults.doubleForKey("rate"), 1.25);
    EXPECT_TRUE(defaults.boolForKey("loops"));
    EXPECT_EQ(defaults.stringForKey("name"), "Größe, \"quoted\"");
    EXPECT_EQ(defaults.stringsForKey("list"), (std::vector<std::string>{"de", "a, b"}));
    EXPECT_FALSE(defaults.value("gone"));
}

/// As editors and other processes do it: a new file takes the place of the old one.
void replaceSettings(const QByteArray& lines) {
    const QString name = SettingsStore::fileName();
    QFile next(name + QStringLiteral(".new"));
    ASSERT_TRUE(next.open(QIODevice::WriteOnly));
    next.write("[General]\n" + lines);
    next.close();
    QFile::remove(name);
    ASSERT_TRUE(next.rename(name));
}

TEST(SettingsFileWatcher, whatOthersWriteAboutCaptionsIsReadAndTold) {
    const test::TemporaryFolder folder;
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope,
                       QString::fromStdString(folder.path().string()));
    const UserDefaults defaults(std::make_unique<SettingsStore>());
    std::string told;
    const SettingsFileWatcher watcher(
        {[&] {
             told += fmt::format("captions {} ",
                                 defaults.doubleForKey("ZLVNCaptionRelativeCharacterSize"));
         },
         [&] { told += "style "; }});
    const auto isTold = [&](const std::string& what) {
        return test::runUntil([&] { return told == what; });
    };
    replaceSettings("ZLVNCaptionRelativeCharacterSize=2\n");
    EXPECT_TRUE(isTold("captions 2 ")) << told;
    // What has nothing to do with captions is nobody's business here: the next word is of others.
    replaceSettings("ZLVNCaptionRelativeCharacterSize=2\nvolume=3\n");
    replaceSettings("ZLVNCaptionRelativeCharacterSize=2\nvolume=3\n"
                    "ZLVNUseUserSpecifiedSubtitleTextStyle=true\n");
    EXPECT_TRUE(isTold("captions 2 style ")) << told;
    replaceSettings("ZLVNUseUserSpecifiedSubtitleTextStyle=true\n");
    EXPECT_TRUE(isTold("captions 2 style captions 0 ")) << told;
}

QImage wholeScreen() {
    return QGuiApplication::primaryScreen()->grabWindow(0).toImage();
}

/// The desktop program itself, on the virtual screen of this test.
class Player {
  public:
    explicit Player(const std::string& file) {
        process_.setProcessChannelMode(QProcess::ForwardedChannels);
        process_.start(QStringLiteral(ZELVANE_PLAYER), {QString::fromStdString(file)});
    }
    ~Player() {
        process_.kill();
        process_.waitForFinished();
    }
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    bool isRunning() const { return process_.state() == QProcess::Running; }

  private:
    QProcess process_;
};

TEST(PlayerProgram, aFilmAppearsInItsOwnColours) {
    const auto film = test::madeClip("orange.mp4", {"-f",
                                                    "lavfi",
                                                    "-i",
                                                    "color=0xd98e4a:s=640x360:r=25:d=20",
                                                    "-f",
                                                    "lavfi",
                                                    "-i",
                                                    "sine=f=440:d=20",
                                                    "-vf",
                                                    "scale=out_color_matrix=bt709",
                                                    "-pix_fmt",
                                                    "yuv420p",
                                                    "-c:v",
                                                    "libx264",
                                                    "-colorspace",
                                                    "bt709",
                                                    "-color_primaries",
                                                    "bt709",
                                                    "-color_trc",
                                                    "bt709",
                                                    "-color_range",
                                                    "tv",
                                                    "-c:a",
                                                    "aac"});
    const Player player(film.string());
    const QRgb orange = 0xffd98e4a;
    QRgb seen = 0;
    EXPECT_TRUE(test::runUntil([&] {
        const QImage screen = wholeScreen();
        seen = screen.pixel(320, 180);
        return test::isNear(seen, orange, 3);
    })) << std::hex
        << seen;
    EXPECT_TRUE(player.isRunning());
}

TEST(PlayerProgram, aFileThatIsNoFilmIsToldInAnAlert) {
    const test::TemporaryFolder folder;
    const auto path = folder.path() / "notes.mp4";
    QFile file(QString::fromStdString(path.string()));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write("no film") > 0);
    file.close();
    const Player player(path.string());
    // The virtual screen is black but for the alert's own light ground.
    EXPECT_TRUE(test::runUntil([&] {
        const QImage screen = wholeScreen();
        int light = 0;
        for (int y = 0; y < screen.height(); y += 8) {
            for (int x = 0; x < screen.width(); x += 8) {
                light += qGray(screen.pixel(x, y)) > 200 ? 1 : 0;
            }
        }
        return light > 100;
    }));
    EXPECT_TRUE(player.isRunning()) << "it waits for the person";
}

/// A document in this program, and what its window shows.
class DocumentTest : public testing::Test {
  public:
    DocumentTest() { dispatch::setMainQueue(std::make_shared<QtMainQueue>()); }
    ~DocumentTest() override {
        document_ = nullptr;
        test::runUntil([] { return dispatch::waitForQuiescence(std::chrono::milliseconds(5)); });
        dispatch::setMainQueue(nullptr);
    }
    DocumentTest(const DocumentTest&) = delete;
    DocumentTest& operator=(const DocumentTest&) = delete;

  protected:
    /// A film of one colour with two subtitles all along, of languages that nobody is expected to
    /// prefer, 640 by 360.
    void openFilm() {
        const auto side = [&](const std::string& name) {
            const auto path = folder_.path() / name;
            std::ofstream(path) << "1\n00:00:00,000 --> 00:01:00,000\nWhat is said\n";
            return path.string();
        };
        const auto film =
            test::madeClip("subtitles-in-latin.mkv", {"-f",
                                                      "lavfi",
                                                      "-i",
                                                      "color=0xd98e4a:s=640x360:r=25:d=60",
                                                      "-i",
                                                      side("a.srt"),
                                                      "-i",
                                                      side("b.srt"),
                                                      "-map",
                                                      "0",
                                                      "-map",
                                                      "1",
                                                      "-map",
                                                      "2",
                                                      "-c:v",
                                                      "mpeg4",
                                                      "-c:s",
                                                      "srt",
                                                      "-metadata:s:s:0",
                                                      "language=epo",
                                                      "-metadata:s:s:1",
                                                      "language=lat"});
        document_ = MediaPlayerDocument::open(URL::fromPath(film), [](bool) {});
        ASSERT_TRUE(test::runUntil([&] { return window() != nullptr; }));
        EXPECT_TRUE(isWritten("--")) << "nobody asked for subtitles";
    }

    static PlainPlayerWindow* window() {
        for (auto* widget : QApplication::topLevelWidgets()) {
            if (auto* found = dynamic_cast<PlainPlayerWindow*>(widget)) {
                return found;
            }
        }
        return nullptr;
    }
    static void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QKeyEvent event(QEvent::KeyPress, key, modifiers);
        QCoreApplication::sendEvent(window(), &event);
    }
    static void drop(const std::filesystem::path& path) {
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(QString::fromStdString(path.string()))});
        QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(window(), &enter);
        QDropEvent event(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(window(), &event);
    }

    /// Waits until the middle of the window has white letters at the top ("T-"), at the bottom
    /// ("-B"), at both or nowhere. Notices lie at the left.
    static bool isWritten(const std::string& expected) {
        return test::runUntil([&] {
            const QImage image = test::screenshot(*window());
            const auto hasLetters = [&](int fromY, int toY) {
                for (int y = fromY; y < toY; ++y) {
                    for (int x = 320; x < 420; ++x) {
                        if (qGray(image.pixel(x, y)) > 240) {
                            return true;
                        }
                    }
                }
                return false;
            };
            const std::string written =
                std::string(hasLetters(0, 90) ? "T" : "-") + (hasLetters(270, 360) ? "B" : "-");
            return written == expected && test::isNear(image.pixel(600, 180), 0xffd98e4a, 4);
        });
    }

    const test::TemporaryFolder folder_;
    std::shared_ptr<MediaPlayerDocument> document_;
};

TEST_F(DocumentTest, keysGoThroughTheSubtitlesOfBothPositions) {
    openFilm();
    press(Qt::Key_J);
    EXPECT_TRUE(isWritten("-B"));
    press(Qt::Key_J, Qt::ShiftModifier);
    EXPECT_TRUE(isWritten("TB")) << "the other language";
    press(Qt::Key_J);
    EXPECT_TRUE(isWritten("T-"));
    press(Qt::Key_J, Qt::ShiftModifier);
    EXPECT_TRUE(isWritten("--"));
}

TEST_F(DocumentTest, aFileThatIsDroppedIsShownWhereThereIsRoom) {
    openFilm();
    const auto side = folder_.path() / "dropped.srt";
    std::ofstream(side) << "1\n00:00:00,000 --> 00:01:00,000\nWhat was dropped\n";
    press(Qt::Key_J);
    EXPECT_TRUE(isWritten("-B"));
    drop(side);
    EXPECT_TRUE(isWritten("TB"));
    press(Qt::Key_J, Qt::ShiftModifier);
    EXPECT_TRUE(isWritten("-B")) << "it was the last of the tracks";
}

TEST_F(DocumentTest, aFileThatIsNoSubtitlesIsToldInAnAlertAndTheNextOneIsTaken) {
    openFilm();
    const auto side = folder_.path() / "empty.ass";
    std::ofstream(side) << "no script";
    drop(side);
    const auto alert = [] { return window()->findChild<QMessageBox*>(); };
    ASSERT_TRUE(test::runUntil([&] { return alert() != nullptr; }));
    EXPECT_EQ(alert()->text(), "Unable to open the file.");
    alert()->close();
    ASSERT_TRUE(test::runUntil([&] { return alert() == nullptr; }));
    const auto good = folder_.path() / "good.srt";
    std::ofstream(good) << "1\n00:00:00,000 --> 00:01:00,000\nWhat was dropped\n";
    drop(good);
    EXPECT_TRUE(isWritten("-B"));
}

} // namespace
} // namespace zelvane

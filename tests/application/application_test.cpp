// SPDX-License-Identifier: GPL-3.0-or-later
#include <fstream>
#include <thread>

#include <QDir>
#include <QDropEvent>
#include <QFile>
#include <QFileDialog>
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

#include "application/document_controller.h"
#include "application/media_player_document.h"
#include "application/qt_main_queue.h"
#include "application/settings_file_watcher.h"
#include "application/settings_store.h"
#include "foundation/user_defaults.h"
#include "player_assembly/player_assembly.h"
#include "player_window/player/media_player_view_controller.h"
#include "player_window/window/media_player_window.h"
#include "player_window/window/media_player_window_controller.h"
#include "tests/player_window/tracks_test_support.h"
#include "tests/player_window/window_test_support.h"
#include "tests/support/clips.h"

namespace zelvane {
namespace {

TEST(QtMainQueue, runsTasksOnTheMainThreadInTheirOrder) {
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

TEST(SettingsStore, keepsValuesInTheFileAndRemovesThem) {
    const test::TemporaryFolder folder;
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope,
                       QString::fromStdString(folder.path().string()));
    {
        UserDefaults defaults(std::make_unique<SettingsStore>());
        defaults.set("rate", 1.25);
        defaults.set("loops", true);
        defaults.set("name", std::string("Größe, \"quoted\""));
        defaults.set("list", std::vector<std::string>{"de", "a, b"});
        defaults.set("one", std::vector<std::string>{"de"});
        defaults.set("none", std::vector<std::string>());
        defaults.set("large", std::int64_t{9007199254740993});
        defaults.set("gone", std::int64_t{7});
        defaults.set("gone", std::nullopt);
    }
    UserDefaults defaults(std::make_unique<SettingsStore>());
    defaults.registerDefaults({{"none", std::vector<std::string>{"en"}}});
    EXPECT_EQ(defaults.doubleForKey("rate"), 1.25);
    EXPECT_TRUE(defaults.boolForKey("loops"));
    EXPECT_EQ(defaults.stringForKey("name"), "Größe, \"quoted\"");
    EXPECT_EQ(defaults.stringsForKey("list"), (std::vector<std::string>{"de", "a, b"}));
    EXPECT_EQ(defaults.stringsForKey("one"), std::vector<std::string>{"de"});
    EXPECT_TRUE(defaults.stringsForKey("none").empty());
    EXPECT_EQ(defaults.integerForKey("large"), 9007199254740993);
    EXPECT_FALSE(defaults.value("gone"));
}

/// Replaces the file, as editors and other processes do.
void replaceSettings(const QByteArray& lines) {
    const QString name = SettingsStore::fileName();
    QFile next(name + QStringLiteral(".new"));
    ASSERT_TRUE(next.open(QIODevice::WriteOnly));
    next.write("[General]\n" + lines);
    next.close();
    QFile::remove(name);
    ASSERT_TRUE(next.rename(name));
}

TEST(SettingsFileWatcher, reportsCaptionSettingsThatOtherProgramsWrite) {
    const test::TemporaryFolder folder;
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope,
                       QString::fromStdString(folder.path().string()));
    const UserDefaults defaults(std::make_unique<SettingsStore>());
    std::string reports;
    int changes = 0;
    const SettingsFileWatcher watcher(
        {[&] {
             reports += fmt::format("captions {} ",
                                    defaults.doubleForKey("ZLVNCaptionRelativeCharacterSize"));
         },
         [&] { reports += "style "; }, [&] { ++changes; }});
    const auto isReported = [&](const std::string& what) {
        return test::runUntil([&] { return reports == what; });
    };
    replaceSettings("ZLVNCaptionRelativeCharacterSize=2\n");
    EXPECT_TRUE(isReported("captions 2 ")) << reports;
    replaceSettings("ZLVNCaptionRelativeCharacterSize=2\nvolume=3\n");
    EXPECT_TRUE(test::runUntil([&] { return changes == 2; }));
    EXPECT_TRUE(isReported("captions 2 ")) << "another setting is none of captions";
    replaceSettings("ZLVNCaptionRelativeCharacterSize=2\nvolume=3\n"
                    "ZLVNUseUserSpecifiedSubtitleTextStyle=true\n");
    EXPECT_TRUE(isReported("captions 2 style ")) << reports;
    replaceSettings("ZLVNUseUserSpecifiedSubtitleTextStyle=true\n");
    EXPECT_TRUE(isReported("captions 2 style captions 0 ")) << reports;
}

QImage wholeScreen() {
    return QGuiApplication::primaryScreen()->grabWindow(0).toImage();
}

/// The desktop program itself, on the virtual screen of this test.
class Player {
  public:
    explicit Player(const std::string& file) {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert("XDG_STATE_HOME", QString::fromStdString(state_.path().string()));
        process_.setProcessEnvironment(environment);
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
    const test::TemporaryFolder state_;
    QProcess process_;
};

TEST(PlayerProgram, showsAFilmInItsColours) {
    const auto film = test::madeClip(
        "orange.mp4", test::lavfi("color=0xd98e4a:s=640x360:r=25:d=20") +
                          test::lavfi("sine=f=440:d=20") +
                          "-vf scale=out_color_matrix=bt709 -pix_fmt yuv420p -c:v libx264 "
                          "-colorspace bt709 -color_primaries bt709 -color_trc bt709 "
                          "-color_range tv -c:a aac");
    const Player player(film.string());
    const QRgb orange = 0xffd98e4a;
    QRgb seen = 0;
    EXPECT_TRUE(test::runUntil([&] {
        const QImage screen = wholeScreen();
        // The window is in the middle of the screen.
        seen = screen.pixel(screen.rect().center());
        return test::isNear(seen, orange, 3);
    })) << std::hex
        << seen;
    EXPECT_TRUE(player.isRunning());
}

TEST(PlayerProgram, showsAnAlertForAFileThatIsNoMedia) {
    const test::TemporaryFolder folder;
    const auto path = folder.path() / "notes.mp4";
    QFile file(QString::fromStdString(path.string()));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write("no film") > 0);
    file.close();
    const Player player(path.string());
    // The virtual screen is black except for the alert.
    EXPECT_TRUE(test::runUntil([&] {
        const QImage screen = wholeScreen();
        int covered = 0;
        for (int y = 0; y < screen.height(); y += 8) {
            for (int x = 0; x < screen.width(); x += 8) {
                covered += qGray(screen.pixel(x, y)) > 20 ? 1 : 0;
            }
        }
        return covered > 100;
    }));
    EXPECT_TRUE(player.isRunning()) << "it waits for the user";
}

/// A document in this process, and the picture in its window.
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
    /// A film of one colour, 640 by 360, with two subtitles for its whole length, in languages that
    /// no user is expected to prefer.
    void openFilm() {
        // The recipe is the same in each run: another test must not replace the film of this one.
        const auto said =
            test::madeText("said.srt", "1\n00:00:00,000 --> 00:01:00,000\nWhat is said\n");
        const auto film = test::madeClip(
            "subtitles-in-latin.mkv",
            test::lavfi("color=0xd98e4a:s=640x360:r=25:d=60") + test::inputFile(said) +
                test::inputFile(said) +
                "-map 0 -map 1 -map 2 -c:v mpeg4 -c:s srt -metadata:s:s:0 language=epo "
                "-metadata:s:s:1 language=lat");
        document_ = MediaPlayerDocument::open(URL::fromPath(film), handlers());
        ASSERT_TRUE(test::runUntil([&] { return window() != nullptr; }));
        EXPECT_TRUE(isWritten("--")) << "no subtitles are selected";
    }

    MediaPlayerDocument::Handlers handlers() {
        MediaPlayerDocument::Handlers handlers;
        handlers.onClosed = [](bool) {};
        handlers.onOpenMedia = [this](const std::vector<URL>& urls) { opened_ = urls; };
        handlers.onRestored = [this](bool isShown) { isRestored_ = isShown; };
        return handlers;
    }

    static MediaPlayerWindow* window() {
        for (auto* widget : QApplication::topLevelWidgets()) {
            if (auto* found = dynamic_cast<MediaPlayerWindow*>(widget)) {
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
        QCoreApplication::sendEvent(window()->contentView(), &enter);
        QDropEvent event(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(window()->contentView(), &event);
    }

    /// Waits until the middle of the window has white letters at the top ("T-"), at the bottom
    /// ("-B"), at both or nowhere. Notices are at the left.
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

    std::filesystem::path writeSide(const std::string& name) const {
        auto path = folder_.path() / name;
        std::ofstream(path) << "1\n00:00:00,000 --> 00:01:00,000\nWhat was dropped\n";
        return path;
    }

    const test::TemporaryFolder folder_;
    std::shared_ptr<MediaPlayerDocument> document_;
    std::vector<URL> opened_;
    std::optional<bool> isRestored_;
};

TEST_F(DocumentTest, keysCycleTheSubtitlesOfBothPositions) {
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

TEST_F(DocumentTest, aDroppedFileIsShownAtAFreePosition) {
    openFilm();
    press(Qt::Key_J);
    EXPECT_TRUE(isWritten("-B"));
    drop(writeSide("dropped.srt"));
    EXPECT_TRUE(isWritten("TB"));
    press(Qt::Key_J, Qt::ShiftModifier);
    EXPECT_TRUE(isWritten("-B")) << "it was the last of the tracks";
}

TEST_F(DocumentTest, aDroppedFileWithoutSubtitlesGivesAnAlertAndTheNextOneIsAccepted) {
    openFilm();
    const auto side = folder_.path() / "empty.ass";
    std::ofstream(side) << "no script";
    drop(side);
    const auto alert = [] { return window()->findChild<QMessageBox*>(); };
    ASSERT_TRUE(test::runUntil([&] { return alert() != nullptr; }));
    EXPECT_EQ(alert()->text(), "Unable to open the file.");
    alert()->close();
    ASSERT_TRUE(test::runUntil([&] { return alert() == nullptr; }));
    drop(writeSide("good.srt"));
    EXPECT_TRUE(isWritten("-B"));
}

TEST_F(DocumentTest, aDroppedMediaFileIsOpenedElsewhere) {
    openFilm();
    drop(folder_.path() / "other.mkv");
    EXPECT_EQ(opened_, std::vector<URL>{URL::fromPath(folder_.path() / "other.mkv")});
}

TEST_F(DocumentTest, comesBackAsItWas) {
    openFilm();
    press(Qt::Key_J);
    drop(writeSide("dropped.srt"));
    EXPECT_TRUE(isWritten("TB"));
    press(Qt::Key_Space);
    press(Qt::Key_Right);
    press(Qt::Key_BracketRight);
    const QRect place(100, 90, 656, 369);
    window()->setGeometry(place);
    ASSERT_TRUE(test::runUntil([&] { return window()->geometry() == place; }));
    const auto state = StateCoder::fromData(document_->restorableState()->data()).state;
    EXPECT_GT(state.decodeTime("zelvane.MediaPlayer.currentTime"), CMTime(1, 2));
    document_ = nullptr;
    ASSERT_EQ(window(), nullptr);

    document_ = MediaPlayerDocument::restore(state, handlers());
    EXPECT_EQ(document_->restorableState()->data(), state.data()) << "before it is loaded";
    ASSERT_TRUE(test::runUntil([&] { return isRestored_.has_value(); }));
    EXPECT_TRUE(*isRestored_);
    EXPECT_TRUE(isWritten("TB"));
    EXPECT_EQ(window()->geometry(), place);
    EXPECT_EQ(document_->restorableState()->data(), state.data());
}

/// Windows of one film in successive runs.
class RestorationTest : public DocumentTest {
  public:
    ~RestorationTest() override {
        controller_ = nullptr;
        player_ = nullptr;
        parts_ = {};
        source_ = nullptr;
    }

  protected:
    RestorationTest() {
        defaults_.registerDefaults(
            {{"ZLVNPlayAutomaticallyOnOpen", true}, {"ZLVNDefaultPlaybackRate", 1.5}});
    }
    void makeWindow() {
        const auto film = test::madeClip(
            "two-sounds.mkv", test::lavfi("testsrc2=s=320x180:r=25:d=60") +
                                  test::lavfi("sine=f=440:d=60") + test::lavfi("sine=f=660:d=60") +
                                  "-map 0 -map 1 -map 2 -c:v mpeg4 -c:a aac");
        source_ = MediaSource::open(URL::fromPath(film), std::nullopt, true);
        // A restored source has the identifiers of the earlier run.
        for (const auto& track : source_->audioTracks()) {
            track->setID("film." + std::to_string(track->streamIndex()));
        }
        parts_ = makePlayerParts(SoundOutput::none);
        auto environment = playerEnvironment(parts_);
        const auto subtitles = makeSubtitlesViews(parts_.renderSynchronizer);
        environment.primarySubtitlesRenderer = subtitles.primary;
        environment.secondarySubtitlesRenderer = subtitles.secondary;
        player_ = nullptr;
        makeMediaPlayer(environment, source_, defaultTracks(*source_), std::nullopt,
                        dispatch::mainQueue(),
                        [this](std::shared_ptr<MediaPlayer> made) { player_ = std::move(made); });
        ASSERT_TRUE(test::runUntil([&] { return player_ != nullptr; }));
        MediaPlayerWindowController::Callbacks callbacks;
        callbacks.onInvalidateRestorableState = [this] { ++invalidations_; };
        controller_ = std::make_unique<MediaPlayerWindowController>(player_, subtitles, defaults_,
                                                                    std::move(callbacks));
    }
    bool isPlaying() const {
        return player_->queue()->sync([this] { return player_->isPlaying(); });
    }
    float rate() const {
        return player_->queue()->sync([this] { return player_->desiredPlaybackRate(); });
    }

    UserDefaults defaults_;
    PlayerParts parts_;
    std::shared_ptr<MediaSource> source_;
    std::shared_ptr<MediaPlayer> player_;
    std::unique_ptr<MediaPlayerWindowController> controller_;
    int invalidations_ = 0;
};

TEST_F(RestorationTest, aNewWindowFollowsTheSettingsAndARestoredOneItsState) {
    makeWindow();
    controller_->show();
    EXPECT_TRUE(test::runUntil([&] { return isPlaying(); }));
    EXPECT_EQ(rate(), 1.5F);
    // The clock alone invalidates the state while the film plays.
    EXPECT_TRUE(test::runUntil([&] { return player_->currentTime() > CMTime(5, 2); }));
    EXPECT_TRUE(test::runUntil([&] { return invalidations_ > 2; }));
    player_->setSelectedAudioTrack(source_->audioTracks()[1]);
    player_->queue()->sync([&] {
        player_->pause();
        player_->setDesiredPlaybackRate(1.3F);
        player_->seekTo(CMTime(21, 1));
    });
    StateCoder state;
    controller_->encodeRestorableState(state);

    controller_ = nullptr;
    makeWindow();
    EXPECT_EQ(player_->selectedAudioTrack(), source_->audioTracks()[0]);
    controller_->restoreState(state);
    controller_->show();
    EXPECT_EQ(player_->selectedAudioTrack(), source_->audioTracks()[1]);
    EXPECT_EQ(player_->currentTime(), CMTime(21, 1));
    EXPECT_EQ(rate(), 1.3F);
    EXPECT_FALSE(isPlaying());
}

TEST_F(RestorationTest, theLoopKeyRepeatsThePartBetweenItsMarks) {
    makeWindow();
    controller_->show();
    PlayerActions& actions = controller_->viewController().actions();
    const auto seek = [&](const CMTime& time) {
        player_->queue()->sync([&] { player_->seekTo(time); });
    };
    seek(CMTime(20, 1));
    actions.perform(PlayerAction::markLoop);
    seek(CMTime(21, 1));
    actions.perform(PlayerAction::markLoop);
    EXPECT_LT(player_->currentTime(), CMTime(21, 1)) << "the end was reached by the key itself";
    const auto isIn = [&](double from, double to) {
        const double now = player_->currentTime().seconds();
        return now >= from && now < to;
    };
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(test::runUntil([&] { return isIn(20.6, 22); }));
        EXPECT_TRUE(test::runUntil([&] { return isIn(19.9, 20.5); }));
    }
    actions.perform(PlayerAction::markLoop);
    EXPECT_TRUE(test::runUntil([&] { return player_->currentTime() > CMTime(22, 1); }));
}

TEST(DocumentController, showsOneOpenPanelAndReportsTheLastClose) {
    dispatch::setMainQueue(std::make_shared<QtMainQueue>());
    int reports = 0;
    DocumentController documents([&] { ++reports; });
    const auto panels = [] {
        int count = 0;
        for (auto* widget : QApplication::topLevelWidgets()) {
            const auto* panel = qobject_cast<QFileDialog*>(widget);
            count += panel != nullptr && panel->isVisible() ? 1 : 0;
        }
        return count;
    };
    documents.showOpenPanel();
    documents.showOpenPanel();
    EXPECT_EQ(panels(), 1);
    const test::TemporaryFolder folder;
    std::ofstream(folder.path() / "notes.mp4") << "no film";
    documents.open({URL::fromPath(folder.path() / "notes.mp4")});
    EXPECT_TRUE(test::runUntil([&] { return panels() == 0; }));
    EXPECT_EQ(reports, 0) << "the file is still loading";
    QMessageBox* alert = nullptr;
    EXPECT_TRUE(test::runUntil([&] {
        for (auto* widget : QApplication::topLevelWidgets()) {
            alert = alert == nullptr ? qobject_cast<QMessageBox*>(widget) : alert;
        }
        return alert != nullptr;
    }));
    if (alert != nullptr) {
        alert->close();
    }
    EXPECT_TRUE(test::runUntil([&] { return reports == 1; }));
    EXPECT_TRUE(documents.didFail());
    EXPECT_EQ(documents.documentCount(), 0U);
    test::runUntil([] { return dispatch::waitForQuiescence(std::chrono::milliseconds(5)); });
    dispatch::setMainQueue(nullptr);
}

} // namespace
} // namespace zelvane

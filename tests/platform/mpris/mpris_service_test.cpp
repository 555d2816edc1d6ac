// SPDX-License-Identifier: GPL-3.0-or-later
#include <limits>

#include <QDBusConnectionInterface>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QProcessEnvironment>
#include <QUrl>
#include <QXmlStreamReader>

#include <gmock/gmock.h>

#include "media_player/media_source/media_source.h"
#include "media_player/now_playing/now_playing_manager.h"
#include "platform/mpris/mpris_service.h"
#include "player_assembly/player_assembly.h"
#include "rendering/null_video_presenter.h"
#include "tests/platform/mpris/mpris_client.h"
#include "tests/platform/mpris/signal_log.h"
#include "tests/support/clips.h"
#include "tests/support/event_loop_queue.h"

namespace zelvane::test {
namespace {

/// A song of 20 s with a cover.
std::filesystem::path song() {
    const auto cover = madeClip("cover.png", "-f lavfi -i color=red:s=32x24 -frames:v 1");
    return madeClip("mpris-song.mp3",
                    lavfi("sine=d=20") + inputFile(cover) +
                        "-map 0 -map 1 -disposition:v attached_pic -metadata title=Lied "
                        "-metadata artist=Sängerin -metadata composer=Meister -metadata "
                        "album=Werke -metadata genre=Walzer");
}

/// A player on a bus of its own, and other programs on that bus.
class MprisTest : public testing::Test {
  protected:
    void TearDown() override { close(); }

    void open() {
        parts_ = makePlayerParts(SoundOutput::none);
        parts_.displayLayer->setPresenter(std::make_shared<NullVideoPresenter>());
        auto environment = playerEnvironment(parts_);
        environment.nowPlaying = manager_;
        const auto source = MediaSource::open(URL::fromPath(song()), std::nullopt, true);
        makeMediaPlayer(environment, source, defaultTracks(*source), std::nullopt,
                        dispatch::mainQueue(), [this](const auto& player) { player_ = player; });
        ASSERT_TRUE(runUntil([&] { return !artworkPath().isEmpty(); }));
        // Also to the client.
        ASSERT_TRUE(runUntil([&] {
            return qdbus_cast<QVariantMap>(signals_.properties.value("Player.Metadata"))
                .contains("mpris:artUrl");
        }));
    }
    void close() {
        player_ = nullptr;
        parts_ = {};
        EventLoopScope::settle();
    }

    QString playerctl(const QString& command) const {
        QProcess process;
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert("DBUS_SESSION_BUS_ADDRESS", bus_.address());
        process.setProcessEnvironment(environment);
        process.start("playerctl", command.split(' '));
        runUntil([&] { return process.state() == QProcess::NotRunning; });
        return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
    }

    QString artworkPath() const {
        return QUrl(client_.metadata().value("mpris:artUrl").toString()).toLocalFile();
    }

    const EventLoopScope main_;
    const PrivateBus bus_;
    const TemporaryFolder cache_;
    const MprisClient client_{bus_.connection("client")};
    SignalLog signals_{client_.bus};
    std::string asked_;
    bool isFullScreen_ = false;
    const std::shared_ptr<PublishedMedia> media_ = std::make_shared<PublishedMedia>();
    const std::shared_ptr<NowPlayingManager> manager_ =
        NowPlayingManager::create(media_, media_, [](const dispatch::Task& handler) { handler(); });
    MprisProgram program_{.raise = [this] { asked_ += "raise "; },
                          .quit = [this] { asked_ += "quit "; },
                          .openURL = [this](const URL& url) { asked_ += url.absoluteString(); },
                          .canSetFullScreen = [this] { return player_ != nullptr; },
                          .isFullScreen = [this] { return isFullScreen_; },
                          .setFullScreen = [this](bool isFull) { isFullScreen_ = isFull; },
                          .uriSchemes = {"file", "http"},
                          .mimeTypes = {"video/mp4"},
                          .cacheFolder = QString::fromStdString(cache_.path().string())};
    MprisService service_{bus_.connection("player"), media_, program_};
    PlayerParts parts_;
    std::shared_ptr<MediaPlayer> player_;
};

TEST_F(MprisTest, playerctlControlsThePlayer) {
    const struct {
        QString command;
        QString question;
        QString answer;
    } steps[] = {
        {"status", "-l", "zelvane"},
        {"status", "status", "Paused"},
        {"status", "metadata title", "Lied"},
        {"status", "metadata artist", "Sängerin"},
        {"status", "metadata album", "Werke"},
        {"status", "metadata xesam:composer", "Meister"},
        {"status", "metadata xesam:genre", "Walzer"},
        {"play", "status", "Playing"},
        {"pause", "status", "Paused"},
        {"play-pause", "status", "Playing"},
        {"stop", "status", "Paused"},
        {"position 2.5", "position", "2.500000"},
        {"position 10+", "position", "12.500000"},
        {"position 11.5-", "position", "1.000000"},
        {"volume 0.25", "volume", "0.250000"},
        {"volume 0.5+", "volume", "0.750000"},
        {"volume 0.25-", "volume", "0.500000"},
        {"loop Track", "loop", "None"},
        {"shuffle On", "shuffle", "Off"},
        {"next", "position", "1.000000"},
        {"previous", "position", "1.000000"},
    };
    open();
    for (const auto& step : steps) {
        playerctl(step.command);
        QString answer;
        EXPECT_TRUE(runUntil([&] { return (answer = playerctl(step.question)) == step.answer; }))
            << step.command.toStdString() << ": " << answer.toStdString();
    }
    playerctl("open file:///films/a.mkv");
    EXPECT_EQ(asked_, "file:///films/a.mkv");
}

TEST_F(MprisTest, hasAllMembersOfTheStandard) {
    const QString expected =
        "Raise|Quit|CanQuit b read|Fullscreen b readwrite|CanSetFullscreen b read|CanRaise b read|"
        "HasTrackList b read|Identity s read|DesktopEntry s read|SupportedUriSchemes as read|"
        "SupportedMimeTypes as read|"
        "Next|Previous|Pause|PlayPause|Stop|Play|Seek x|SetPosition o x|OpenUri s|Seeked x|"
        "PlaybackStatus s read|LoopStatus s readwrite|Rate d readwrite|Shuffle b readwrite|"
        "Metadata a{sv} read|Volume d readwrite|Position x read|MinimumRate d read|"
        "MaximumRate d read|CanGoNext b read|CanGoPrevious b read|CanPlay b read|CanPause b read|"
        "CanSeek b read|CanControl b read";
    QXmlStreamReader xml(
        client_.call("org.freedesktop.DBus.Introspectable", "Introspect").value(0).toString());
    QStringList members;
    for (QString interface; !xml.atEnd(); xml.readNext()) {
        const auto attribute = [&](const char* name) {
            return xml.attributes().value(name).toString();
        };
        if (xml.isStartElement() && xml.name() == QLatin1String("interface")) {
            interface = attribute("name");
        } else if (xml.isStartElement() && interface.startsWith(kMprisRoot)) {
            if (xml.name() == QLatin1String("arg")) {
                members.last() += " " + attribute("type");
            } else if (xml.name() != QLatin1String("annotation")) {
                members << (attribute("name") + " " + attribute("type") + " " + attribute("access"))
                               .trimmed();
            }
        }
    }
    EXPECT_THAT(members, testing::UnorderedElementsAreArray(expected.split('|')));
}

TEST_F(MprisTest, announcesChangesAndJumps) {
    open();
    EXPECT_TRUE(runUntil([&] { return signals_.properties.value("CanSetFullscreen").toBool(); }));
    EXPECT_TRUE(signals_.properties.value("Player.CanPlay").toBool());
    signals_.properties.clear();
    client_.set(kMprisPlayer, "Rate", 1.5);
    EXPECT_TRUE(runUntil([&] { return signals_.properties.value("Player.Rate") == 1.5; }));
    EXPECT_EQ(signals_.properties.size(), 1) << "only what has changed";
    EXPECT_EQ(signals_.seeks.size(), 0);
    client_.call(kMprisPlayer, "Seek", {qlonglong{3'000'000}});
    EXPECT_TRUE(runUntil([&] { return signals_.seeks == QList<qlonglong>{3'000'000}; }));
    client_.call(kMprisPlayer, "Play");
    EXPECT_TRUE(
        runUntil([&] { return signals_.properties.value("Player.PlaybackStatus") == "Playing"; }));
    const auto position = client_.get(kMprisPlayer, "Position").toLongLong();
    EXPECT_TRUE(runUntil(
        [&] { return client_.get(kMprisPlayer, "Position").toLongLong() > position + 300'000; }));
    EXPECT_FALSE(signals_.properties.contains("Player.Position"));
    client_.set(kMprisRoot, "Fullscreen", true);
    EXPECT_TRUE(isFullScreen_);
    service_.update();
    EXPECT_TRUE(runUntil([&] { return signals_.properties.value("Fullscreen").toBool(); }));
    close();
    EXPECT_TRUE(
        runUntil([&] { return signals_.properties.value("Player.PlaybackStatus") == "Stopped"; }));
    EXPECT_FALSE(signals_.properties.value("Player.CanPlay").toBool());
    EXPECT_TRUE(qdbus_cast<QVariantMap>(signals_.properties.value("Player.Metadata")).isEmpty());
}

TEST_F(MprisTest, keepsToTheStandardForOddArguments) {
    open();
    const auto track = client_.metadata().value("mpris:trackid");
    const auto otherTrack = QVariant::fromValue(QDBusObjectPath("/other"));
    constexpr auto kLowest = std::numeric_limits<qlonglong>::min();
    constexpr auto kHighest = std::numeric_limits<qlonglong>::max();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double length = client_.metadata().value("mpris:length").toDouble();
    const auto setPosition = [&](const QVariant& of, qlonglong position) {
        client_.call(kMprisPlayer, "SetPosition", {of, position});
    };
    const struct {
        const char* property;
        double value;
        std::function<void()> act;
    } cases[] = {
        {"Position", 5e6, [&] { setPosition(track, 5'000'000); }},
        {"Position", 5e6, [&] { setPosition(otherTrack, 6'000'000); }},
        {"Position", 5e6, [&] { setPosition(track, -1); }},
        {"Position", 5e6, [&] { setPosition(track, static_cast<qlonglong>(length) + 1); }},
        {"Position", 0, [&] { client_.call(kMprisPlayer, "Seek", {kLowest}); }},
        {"Position", length, [&] { client_.call(kMprisPlayer, "Seek", {kHighest}); }},
        {"Rate", 0.5, [&] { client_.set(kMprisPlayer, "Rate", 0.1); }},
        {"Rate", 2, [&] { client_.set(kMprisPlayer, "Rate", 1e300); }},
        {"Rate", 2, [&] { client_.set(kMprisPlayer, "Rate", -1.0); }},
        {"Rate", 2, [&] { client_.set(kMprisPlayer, "Rate", nan); }},
        {"Volume", 0, [&] { client_.set(kMprisPlayer, "Volume", -1.0); }},
        {"Volume", 1, [&] { client_.set(kMprisPlayer, "Volume", 7.0); }},
        {"Volume", 1, [&] { client_.set(kMprisPlayer, "Volume", nan); }},
    };
    for (const auto& expected : cases) {
        expected.act();
        EventLoopScope::settle();
        // The clock's steps are finer than those of the bus.
        EXPECT_TRUE(runUntil([&] {
            return std::abs(client_.get(kMprisPlayer, expected.property).toDouble() -
                            expected.value) <= 1000;
        })) << expected.property
            << " is " << client_.get(kMprisPlayer, expected.property).toDouble() << ", not "
            << expected.value;
    }
    client_.call(kMprisPlayer, "Play");
    client_.set(kMprisPlayer, "Rate", 0.0);
    EXPECT_TRUE(runUntil([&] { return client_.get(kMprisPlayer, "PlaybackStatus") == "Paused"; }));
    EXPECT_EQ(client_.call(kMprisPlayer, "OpenUri", {"smb://host/film.mkv"}),
              QVariantList{"refused"});
    EXPECT_EQ(asked_, "");
    client_.call(kMprisRoot, "Raise");
    client_.call(kMprisRoot, "Quit");
    EXPECT_EQ(asked_, "raise quit ");
    close();
    EXPECT_EQ(client_.call(kMprisPlayer, "PlayPause"), QVariantList{"refused"});
}

TEST_F(MprisTest, keepsTheArtworkInAFileWhileItIsShown) {
    QProcess ended;
    ended.start("true", {});
    const auto process = ended.processId();
    ended.waitForFinished();
    const QDir folder(program_.cacheFolder);
    const auto write = [&](qint64 owner) {
        QString name = QString("artwork-%1-abcdef.png").arg(owner);
        EXPECT_TRUE(QFile(folder.filePath(name)).open(QIODevice::WriteOnly));
        return name;
    };
    const QStringList expected{write(getppid())};
    write(process);
    open();
    EXPECT_EQ(QImage(artworkPath()).size(), QSize(32, 24));
    EXPECT_GT(QImage(artworkPath()).pixelColor(5, 5).red(), 250);
    close();
    EXPECT_TRUE(runUntil([&] { return client_.metadata().isEmpty(); }));
    EXPECT_EQ(folder.entryList(QDir::Files), expected) << "the file of a running process";
}

TEST_F(MprisTest, aSecondProcessHasANameOfItsOwn) {
    const QString second = QString("%1.instance%2").arg(kMprisName).arg(getpid());
    const auto names = [&] {
        return client_.bus.interface()->registeredServiceNames().value().filter(kMprisName);
    };
    EXPECT_TRUE(runUntil([&] { return names() == QStringList{kMprisName}; }));
    {
        const MprisService other(bus_.connection("other"), std::make_shared<PublishedMedia>(), {});
        EXPECT_TRUE(runUntil([&] { return names().contains(second); }));
    }
    EXPECT_TRUE(runUntil([&] { return names() == QStringList{kMprisName}; }));
}

} // namespace
} // namespace zelvane::test

// SPDX-License-Identifier: GPL-3.0-or-later
#include <limits>

#include <QDBusConnectionInterface>
#include <QDBusVariant>
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
#include "tests/platform/mpris/signal_log.h"
#include "tests/player_window/private_bus.h"
#include "tests/support/clips.h"
#include "tests/support/event_loop_queue.h"

namespace zelvane::test {
namespace {

constexpr auto kName = "org.mpris.MediaPlayer2.zelvane";
constexpr auto kPath = "/org/mpris/MediaPlayer2";
constexpr auto kRoot = "org.mpris.MediaPlayer2";
constexpr auto kPlayer = "org.mpris.MediaPlayer2.Player";
constexpr auto kProperties = "org.freedesktop.DBus.Properties";

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
    ~MprisTest() override { close(); }

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

    QVariantList call(const char* interface, const char* method,
                      const QVariantList& arguments = {}) const {
        auto message = QDBusMessage::createMethodCall(kName, kPath, interface, method);
        message.setArguments(arguments);
        const QDBusPendingCall pending = client_.asyncCall(message);
        runUntil([&] { return pending.isFinished(); });
        return pending.isError() ? QVariantList{"refused"} : pending.reply().arguments();
    }
    QVariant get(const char* property) const {
        const auto value = call(kProperties, "Get", {kPlayer, property}).value(0);
        const auto inner = value.value<QDBusVariant>().variant();
        return inner.canConvert<QDBusArgument>() ? qdbus_cast<QVariantMap>(inner) : inner;
    }
    QVariantList set(const char* interface, const char* property, const QVariant& value) const {
        return call(kProperties, "Set",
                    {interface, property, QVariant::fromValue(QDBusVariant(value))});
    }
    QString artworkPath() const {
        return QUrl(get("Metadata").toMap().value("mpris:artUrl").toString()).toLocalFile();
    }

    const EventLoopScope main_;
    const PrivateBus bus_;
    const TemporaryFolder cache_;
    QDBusConnection client_ = bus_.connection("client");
    SignalLog signals_{client_};
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
        call("org.freedesktop.DBus.Introspectable", "Introspect").value(0).toString());
    QStringList members;
    for (QString interface; !xml.atEnd(); xml.readNext()) {
        const auto attribute = [&](const char* name) {
            return xml.attributes().value(name).toString();
        };
        if (xml.isStartElement() && xml.name() == QLatin1String("interface")) {
            interface = attribute("name");
        } else if (xml.isStartElement() && interface.startsWith(kRoot)) {
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
    set(kPlayer, "Rate", 1.5);
    EXPECT_TRUE(runUntil([&] { return signals_.properties.value("Player.Rate") == 1.5; }));
    EXPECT_EQ(signals_.properties.size(), 1) << "only what has changed";
    EXPECT_EQ(signals_.seeks.size(), 0);
    call(kPlayer, "Seek", {qlonglong{3'000'000}});
    EXPECT_TRUE(runUntil([&] { return signals_.seeks == QList<qlonglong>{3'000'000}; }));
    call(kPlayer, "Play");
    EXPECT_TRUE(
        runUntil([&] { return signals_.properties.value("Player.PlaybackStatus") == "Playing"; }));
    const auto position = get("Position").toLongLong();
    EXPECT_TRUE(runUntil([&] { return get("Position").toLongLong() > position + 300'000; }));
    EXPECT_FALSE(signals_.properties.contains("Player.Position"));
    set(kRoot, "Fullscreen", true);
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
    const auto track = get("Metadata").toMap().value("mpris:trackid");
    const auto otherTrack = QVariant::fromValue(QDBusObjectPath("/other"));
    constexpr auto kLowest = std::numeric_limits<qlonglong>::min();
    constexpr auto kHighest = std::numeric_limits<qlonglong>::max();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double length = get("Metadata").toMap().value("mpris:length").toDouble();
    const auto setPosition = [&](const QVariant& of, qlonglong position) {
        call(kPlayer, "SetPosition", {of, position});
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
        {"Position", 0, [&] { call(kPlayer, "Seek", {kLowest}); }},
        {"Position", length, [&] { call(kPlayer, "Seek", {kHighest}); }},
        {"Rate", 0.5, [&] { set(kPlayer, "Rate", 0.1); }},
        {"Rate", 2, [&] { set(kPlayer, "Rate", 1e300); }},
        {"Rate", 2, [&] { set(kPlayer, "Rate", -1.0); }},
        {"Rate", 2, [&] { set(kPlayer, "Rate", nan); }},
        {"Volume", 0, [&] { set(kPlayer, "Volume", -1.0); }},
        {"Volume", 1, [&] { set(kPlayer, "Volume", 7.0); }},
        {"Volume", 1, [&] { set(kPlayer, "Volume", nan); }},
    };
    for (const auto& expected : cases) {
        expected.act();
        EventLoopScope::settle();
        // The clock's steps are finer than those of the bus.
        EXPECT_TRUE(runUntil([&] {
            return std::abs(get(expected.property).toDouble() - expected.value) <= 1000;
        })) << expected.property
            << " is " << get(expected.property).toDouble() << ", not " << expected.value;
    }
    call(kPlayer, "Play");
    set(kPlayer, "Rate", 0.0);
    EXPECT_TRUE(runUntil([&] { return get("PlaybackStatus") == "Paused"; }));
    EXPECT_EQ(call(kPlayer, "OpenUri", {"smb://host/film.mkv"}), QVariantList{"refused"});
    EXPECT_EQ(asked_, "");
    call(kRoot, "Raise");
    call(kRoot, "Quit");
    EXPECT_EQ(asked_, "raise quit ");
    close();
    EXPECT_EQ(call(kPlayer, "PlayPause"), QVariantList{"refused"});
}

TEST_F(MprisTest, keepsTheArtworkInAFileWhileItIsShown) {
    QProcess ended;
    ended.start("true", {});
    const auto process = ended.processId();
    ended.waitForFinished();
    const QDir folder(program_.cacheFolder);
    const auto write = [&](qint64 owner) {
        const QString name = QString("artwork-%1-abcdef.png").arg(owner);
        EXPECT_TRUE(QFile(folder.filePath(name)).open(QIODevice::WriteOnly));
        return name;
    };
    const QStringList expected{write(getppid())};
    write(process);
    open();
    EXPECT_EQ(QImage(artworkPath()).size(), QSize(32, 24));
    EXPECT_GT(QImage(artworkPath()).pixelColor(5, 5).red(), 250);
    close();
    EXPECT_TRUE(runUntil([&] { return get("Metadata").toMap().isEmpty(); }));
    EXPECT_EQ(folder.entryList(QDir::Files), expected) << "the file of a running process";
}

TEST_F(MprisTest, aSecondProcessHasANameOfItsOwn) {
    const QString second = QString("%1.instance%2").arg(kName).arg(getpid());
    const auto names = [&] {
        return client_.interface()->registeredServiceNames().value().filter(kName);
    };
    EXPECT_TRUE(runUntil([&] { return names() == QStringList{kName}; }));
    {
        const MprisService other(bus_.connection("other"), std::make_shared<PublishedMedia>(), {});
        EXPECT_TRUE(runUntil([&] { return names().contains(second); }));
    }
    EXPECT_TRUE(runUntil([&] { return names() == QStringList{kName}; }));
}

} // namespace
} // namespace zelvane::test

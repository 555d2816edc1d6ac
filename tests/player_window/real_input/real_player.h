// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <QImage>
#include <QProcess>
#include <QRect>

#include "tests/platform/pulse_audio/private_sound_server.h"
#include "tests/support/clips.h"

namespace zelvane::test {

/// Waits at most 30 s, without an event loop: what it observes is in other processes.
bool waitFor(const std::function<bool()>& condition);

/// A program that is ended with its object.
class Child {
  public:
    Child(const QString& program, const QStringList& arguments,
          const QProcessEnvironment& environment);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    qint64 pid() const { return process_.processId(); }
    bool hasEnded() { return process_.waitForFinished(0) || process_.state() == 0; }

  private:
    QProcess process_;
};

/// The desktop program on the virtual screen of this test, with a window manager and a sound
/// server, used by real input and observed from outside.
class RealPlayer {
  public:
    /// Whether the programs that this needs are installed.
    static bool isAvailable();

    /// Opens as many windows as files and waits for them, their pictures and their sound.
    explicit RealPlayer(const std::vector<std::string>& files);

    /// The windows in the order of their creation; the menus are windows too.
    std::vector<std::string> windows() const;
    /// On the screen; invalid when there is no such window.
    QRect rectOf(const std::string& window) const;
    /// The first window.
    QRect rect() const { return rectOf(window_); }
    bool hasEnded() { return player_->hasEnded(); }

    /// Runs `xdotool ARGUMENTS` and returns its output.
    static std::string xdotool(const std::string& arguments);
    static void press(const std::string& key) { xdotool("key " + key); }
    static void moveTo(const QPoint& point);
    static void click(const QPoint& point, int button = 1);

    /// One entry for each stream at the sound server: whether it plays.
    std::vector<bool> streams() const;
    bool waitForStreams(const std::vector<bool>& playing) const;
    /// The volume of the only stream in per cent.
    int volume() const;

  private:
    PrivateSoundServer sound_;
    TemporaryFolder folder_;
    std::optional<Child> windowManager_;
    std::optional<Child> player_;
    std::string window_;
};

/// What the screen shows there.
QImage screenshotOf(const QRect& rect);

} // namespace zelvane::test

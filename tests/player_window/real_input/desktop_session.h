// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <QImage>
#include <QProcess>
#include <QRect>

namespace zelvane::test {

/// The desktops under which the player is tested: a window manager of X11, and a compositor of
/// Wayland as a window that fills the X11 screen.
enum class Desktop { openbox, weston };

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
    /// Whether it has ended by itself and without an error.
    bool hasEndedWell();

  private:
    QProcess process_;
};

/// Manages the windows on the virtual screen of this test until the object is destroyed.
class DesktopSession {
  public:
    /// Whether the programs that it needs are installed.
    static bool isAvailable(Desktop desktop);
    /// Returns when programs can open windows. They get `environment` and keep files in `folder`.
    static std::unique_ptr<DesktopSession> start(Desktop desktop, const std::string& folder,
                                                 const QProcessEnvironment& environment);
    virtual ~DesktopSession() = default;

    /// For the programs whose windows it shows.
    virtual QProcessEnvironment environment() const = 0;
    /// How many windows of the process are visible; more than two can be counted as two.
    virtual std::size_t windowCount(qint64 pid) const = 0;
    /// The first window of the process on the screen, or the only one; invalid without a window.
    virtual QRect rect(qint64 pid) const = 0;
    /// Whether a window of the process gets the keys.
    virtual bool isActive(qint64 pid) const = 0;
};

/// Waits at most 30 s, without an event loop: what it observes is in other processes.
bool waitFor(const std::function<bool()>& condition);

/// Ends the test with an error unless the condition holds.
void expect(bool condition, const char* error);

/// Runs `xdotool ARGUMENTS` and returns its output.
std::string xdotool(const std::string& arguments);

/// What the screen shows there.
QImage screenshotOf(const QRect& rect);

} // namespace zelvane::test

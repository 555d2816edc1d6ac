// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/player_window/real_input/desktop_session.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>
#include <QStandardPaths>

#include <fmt/format.h>

namespace zelvane::test {
namespace {

constexpr QRect kScreen(0, 0, 1280, 800);

std::string outputOf(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished();
    return process.readAllStandardOutput().toStdString();
}

class OpenboxSession final : public DesktopSession {
  public:
    explicit OpenboxSession(const QProcessEnvironment& environment)
        : environment_(environment),
          windowManager_(QStringLiteral("openbox"), {QStringLiteral("--sm-disable")}, environment) {
        // The root window keeps other properties of a window manager that an earlier test ended.
        const std::string ready = fmt::format("= {}\n", windowManager_.pid());
        expect(waitFor([&] {
                   return outputOf(QStringLiteral("xprop"),
                                   {QStringLiteral("-root"), QStringLiteral("_OPENBOX_PID")})
                              .find(ready) != std::string::npos;
               }),
               "no window manager");
    }

    QProcessEnvironment environment() const override { return environment_; }
    std::size_t windowCount(qint64 pid) const override { return windows(pid).size(); }
    QRect rect(qint64 pid) const override {
        const auto all = windows(pid);
        return all.empty() ? QRect() : rectOf(all.front());
    }
    bool isActive(qint64 pid) const override {
        std::string active = xdotool("getactivewindow");
        active.resize(std::min(active.find('\n'), active.size()));
        return std::ranges::count(windows(pid), active) > 0;
    }

  private:
    /// In the order of their creation.
    static std::vector<std::string> windows(qint64 pid) {
        std::istringstream lines(
            xdotool(fmt::format("search --onlyvisible --pid {} --name .", pid)));
        std::vector<std::string> all;
        for (std::string line; std::getline(lines, line);) {
            all.push_back(line);
        }
        std::ranges::sort(all, {}, [](const std::string& id) { return std::stoul(id); });
        return all;
    }

    static QRect rectOf(const std::string& window) {
        const std::string text = xdotool("getwindowgeometry --shell " + window);
        const auto number = [&](const std::string& key) {
            const auto at = text.find(key + "=");
            return at == std::string::npos ? 0 : std::stoi(text.substr(at + key.size() + 1));
        };
        return {number("X"), number("Y"), number("WIDTH"), number("HEIGHT")};
    }

    QProcessEnvironment environment_;
    Child windowManager_;
};

/// A client of Wayland cannot see the windows of others, so that pixels show where they are: those
/// of the films are grey, and the background is not.
class WestonSession final : public DesktopSession {
  public:
    WestonSession(const std::string& folder, const QProcessEnvironment& environment)
        : environment_(environment), weston_(startWeston(folder)) {
        expect(waitFor([] {
                   return isBackground(screenshotOf({639, 399, 1, 1}).pixel(0, 0));
               }),
               "no compositor");
        environment_.remove(QStringLiteral("DISPLAY"));
        environment_.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("wayland"));
        environment_.insert(QStringLiteral("WAYLAND_DISPLAY"), QStringLiteral("test"));
    }

    QProcessEnvironment environment() const override { return environment_; }

    std::size_t windowCount(qint64 pid) const override {
        const QRect box = rect(pid);
        if (!box.isValid()) {
            return 0;
        }
        const QImage image = screenshotOf(box);
        int background = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                background += isBackground(image.pixel(x, y)) ? 1 : 0;
            }
        }
        // One window fills its rectangle, two beside one another do not.
        return background * 50 < box.width() * box.height() ? 1 : 2;
    }

    QRect rect(qint64 /*pid*/) const override {
        const QImage image = screenshotOf(kScreen);
        std::vector<int> columns(static_cast<std::size_t>(image.width()));
        std::vector<int> rows(static_cast<std::size_t>(image.height()));
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (!isBackground(image.pixel(x, y))) {
                    ++columns[static_cast<std::size_t>(x)];
                    ++rows[static_cast<std::size_t>(y)];
                }
            }
        }
        const auto [left, right] = extentOf(columns);
        const auto [top, bottom] = extentOf(rows);
        return {QPoint(left, top), QPoint(right, bottom)};
    }

    // Weston gives the keys to a new window, and after its end to the one below.
    bool isActive(qint64 /*pid*/) const override { return true; }

  private:
    static bool isBackground(QRgb pixel) { return qBlue(pixel) > 240 && qRed(pixel) < 16; }

    /// The first and the last line with more pixels than the pointer has.
    static std::pair<int, int> extentOf(const std::vector<int>& lines) {
        constexpr int kPointerSize = 40;
        const auto isWindow = [](int pixels) { return pixels > kPointerSize; };
        const auto first = std::ranges::find_if(lines, isWindow);
        const auto last = std::find_if(lines.rbegin(), lines.rend(), isWindow);
        return {static_cast<int>(first - lines.begin()), static_cast<int>(lines.rend() - last) - 1};
    }

    Child startWeston(const std::string& folder) {
        const std::string config = folder + "/weston.ini";
        std::ofstream(config) << "[core]\nidle-time=0\n"
                                 "[shell]\npanel-position=none\nbackground-color=0xff0000ff\n"
                                 "locking=false\nanimation=none\nclose-animation=none\n"
                                 "startup-animation=none\nfocus-animation=none\n";
        environment_.insert(QStringLiteral("XDG_RUNTIME_DIR"), QString::fromStdString(folder));
        return Child(QStringLiteral("weston"),
                     {QStringLiteral("--backend=x11-backend.so"), QStringLiteral("--use-pixman"),
                      QStringLiteral("--width=1280"), QStringLiteral("--height=800"),
                      QStringLiteral("--socket=test"),
                      QStringLiteral("--config=") + QString::fromStdString(config)},
                     environment_);
    }

    QProcessEnvironment environment_;
    Child weston_;
};

} // namespace

bool waitFor(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

void expect(bool condition, const char* what) {
    if (!condition) {
        throw std::runtime_error(what);
    }
}

std::string xdotool(const std::string& arguments) {
    return outputOf(QStringLiteral("xdotool"),
                    QString::fromStdString(arguments).split(QLatin1Char(' ')));
}

QImage screenshotOf(const QRect& rect) {
    return QGuiApplication::primaryScreen()
        ->grabWindow(0, rect.x(), rect.y(), rect.width(), rect.height())
        .toImage()
        .convertToFormat(QImage::Format_RGB32);
}

Child::Child(const QString& program, const QStringList& arguments,
             const QProcessEnvironment& environment) {
    process_.setProcessEnvironment(environment);
    process_.setStandardErrorFile(QProcess::nullDevice());
    process_.start(program, arguments);
    process_.waitForStarted();
}

Child::~Child() {
    process_.kill();
    process_.waitForFinished();
}

bool Child::hasEndedWell() {
    return hasEnded() && process_.exitStatus() == QProcess::NormalExit && process_.exitCode() == 0;
}

bool DesktopSession::isAvailable(Desktop desktop) {
    const auto areInstalled = [](std::initializer_list<const char*> programs) {
        return std::ranges::none_of(programs, [](const char* program) {
            return QStandardPaths::findExecutable(QString::fromLatin1(program)).isEmpty();
        });
    };
    return desktop == Desktop::openbox ? areInstalled({"xdotool", "openbox", "xprop"})
                                       : areInstalled({"xdotool", "weston"});
}

std::unique_ptr<DesktopSession> DesktopSession::start(Desktop desktop, const std::string& folder,
                                                      const QProcessEnvironment& environment) {
    if (desktop == Desktop::openbox) {
        return std::make_unique<OpenboxSession>(environment);
    }
    return std::make_unique<WestonSession>(folder, environment);
}

} // namespace zelvane::test

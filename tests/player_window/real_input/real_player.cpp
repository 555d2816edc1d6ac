// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/player_window/real_input/real_player.h"

#include <algorithm>
#include <chrono>
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

std::string outputOf(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished();
    return process.readAllStandardOutput().toStdString();
}

QProcessEnvironment environmentWith(const std::string& folder, const std::string& soundServer) {
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("PULSE_SERVER"), QString::fromStdString(soundServer));
    // The settings of the user must not change what the tests see.
    for (const auto* name :
         {"HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME"}) {
        environment.insert(QString::fromLatin1(name), QString::fromStdString(folder));
    }
    return environment;
}

/// The values of all lines that contain "KEY: VALUE".
std::vector<std::string> valuesOf(const std::string& text, const std::string& key) {
    std::vector<std::string> values;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (const auto at = line.find(key + ": "); at != std::string::npos) {
            values.push_back(line.substr(at + key.size() + 2));
        }
    }
    return values;
}

void expect(bool condition, const char* what) {
    if (!condition) {
        throw std::runtime_error(what);
    }
}

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

bool RealPlayer::isAvailable() {
    const auto isInstalled = [](const char* program) {
        return !QStandardPaths::findExecutable(QString::fromLatin1(program)).isEmpty();
    };
    return isInstalled("openbox") && isInstalled("xdotool") && isInstalled("xprop") &&
           PrivateSoundServer::isAvailable();
}

RealPlayer::RealPlayer(const std::vector<std::string>& files) {
    const auto environment = environmentWith(folder_.path().string(), sound_.address());
    windowManager_.emplace(QStringLiteral("openbox"), QStringList{QStringLiteral("--sm-disable")},
                           environment);
    // The root window keeps other properties of a window manager that an earlier test ended.
    const std::string ready = fmt::format("= {}\n", windowManager_->pid());
    expect(waitFor([&] {
               return outputOf(QStringLiteral("xprop"),
                               {QStringLiteral("-root"), QStringLiteral("_OPENBOX_PID")})
                          .find(ready) != std::string::npos;
           }),
           "no window manager");
    // Away from where the windows appear.
    moveTo({0, 0});
    QStringList arguments;
    for (const auto& file : files) {
        arguments.append(QString::fromStdString(file));
    }
    player_.emplace(QStringLiteral(ZELVANE_PLAYER), arguments, environment);
    expect(waitFor([&] { return windows().size() == files.size(); }), "no window");
    window_ = windows().front();
    expect(waitForStreams(std::vector<bool>(files.size(), true)), "no sound");
    // Keys are for the window that is active.
    expect(waitFor([] { return !xdotool("getactivewindow").empty(); }), "no active window");
}

std::vector<std::string> RealPlayer::windows() const {
    std::istringstream lines(
        xdotool(fmt::format("search --onlyvisible --pid {} --name .", player_->pid())));
    std::vector<std::string> all;
    for (std::string line; std::getline(lines, line);) {
        all.push_back(line);
    }
    std::ranges::sort(all, {}, [](const std::string& id) { return std::stoul(id); });
    return all;
}

QRect RealPlayer::rectOf(const std::string& window) const {
    const std::string text = xdotool("getwindowgeometry --shell " + window);
    const auto number = [&](const std::string& key) {
        const auto at = text.find(key + "=");
        return at == std::string::npos ? 0 : std::stoi(text.substr(at + key.size() + 1));
    };
    return {number("X"), number("Y"), number("WIDTH"), number("HEIGHT")};
}

std::string RealPlayer::xdotool(const std::string& arguments) {
    return outputOf(QStringLiteral("xdotool"),
                    QString::fromStdString(arguments).split(QLatin1Char(' ')));
}

void RealPlayer::moveTo(const QPoint& point) {
    // A window that has just appeared ignores the first place of the pointer.
    xdotool(fmt::format("mousemove {} {} mousemove {} {}", point.x() + 1, point.y() + 1, point.x(),
                        point.y()));
}

void RealPlayer::click(const QPoint& point, int button) {
    moveTo(point);
    xdotool(fmt::format("click {}", button));
}

std::vector<bool> RealPlayer::streams() const {
    std::vector<bool> playing;
    for (const auto& value : valuesOf(sound_.pactl("list sink-inputs"), "Corked")) {
        playing.push_back(value == "no");
    }
    return playing;
}

bool RealPlayer::waitForStreams(const std::vector<bool>& playing) const {
    return waitFor([&] { return streams() == playing; });
}

int RealPlayer::volume() const {
    const auto values = valuesOf(sound_.pactl("list sink-inputs"), "Volume");
    const auto slash = values.empty() ? std::string::npos : values.front().find('/');
    return slash == std::string::npos ? -1 : std::stoi(values.front().substr(slash + 1));
}

QImage screenshotOf(const QRect& rect) {
    return QGuiApplication::primaryScreen()
        ->grabWindow(0, rect.x(), rect.y(), rect.width(), rect.height())
        .toImage()
        .convertToFormat(QImage::Format_RGB32);
}

} // namespace zelvane::test

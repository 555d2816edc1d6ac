// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/player_window/real_input/real_player.h"

#include <sstream>

#include <fmt/format.h>

namespace zelvane::test {
namespace {

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

} // namespace

bool RealPlayer::isAvailable(Desktop desktop) {
    return DesktopSession::isAvailable(desktop) && PrivateSoundServer::isAvailable();
}

RealPlayer::RealPlayer(Desktop desktop, const std::vector<std::string>& files)
    : session_(DesktopSession::start(desktop, folder_.path().string(),
                                     environmentWith(folder_.path().string(), sound_.address()))) {
    // Away from where the windows appear.
    moveTo({0, 0});
    QStringList arguments;
    for (const auto& file : files) {
        arguments.append(QString::fromStdString(file));
    }
    player_.emplace(QStringLiteral(ZELVANE_PLAYER), arguments, session_->environment());
    expect(waitFor([&] { return windowCount() == files.size(); }), "no window");
    expect(waitForStreams(std::vector<bool>(files.size(), true)), "no sound");
    expect(waitFor([&] { return isActive(); }), "no active window");
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

} // namespace zelvane::test

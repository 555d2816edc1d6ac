// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include <QProcess>

#include "application/session_state.h"
#include "foundation/file_bookmark.h"
#include "tests/player_window/window_test_support.h"
#include "tests/support/clips.h"

namespace zelvane::test {

/// One process, with settings and a session of its own.
class PlayerProcess {
  public:
    PlayerProcess(const QString& bus, const QStringList& files, const QString& folder = ".") {
        auto environment = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"XDG_STATE_HOME", "XDG_CONFIG_HOME"}) {
            environment.insert(name, QString::fromStdString(folder_.path().string()));
        }
        environment.insert("DBUS_SESSION_BUS_ADDRESS", bus);
        process_.setProcessEnvironment(environment);
        process_.setStandardErrorFile(QProcess::nullDevice());
        process_.setWorkingDirectory(folder);
        process_.start(ZELVANE_PLAYER, files);
    }
    ~PlayerProcess() {
        process_.kill();
        process_.waitForFinished();
    }
    PlayerProcess(const PlayerProcess&) = delete;
    PlayerProcess& operator=(const PlayerProcess&) = delete;

    bool hasWindowsOf(const std::vector<std::string>& names) const {
        const auto session = folder_.path() / "zelvane-player/session.json";
        return runUntil([&] {
            std::vector<std::string> open;
            for (const auto& window : StoredSession::fromData(bytesOf(session)).windows) {
                open.push_back(FileBookmark::decode(window)->url().lastPathComponent());
            }
            return open == names;
        });
    }
    bool endsWith(int status) {
        return runUntil([&] { return process_.state() == QProcess::NotRunning; }) &&
               process_.exitStatus() == QProcess::NormalExit && process_.exitCode() == status;
    }
    bool hasWrittenSession() const {
        return std::filesystem::exists(folder_.path() / "zelvane-player");
    }
    void signal(int number) const { kill(static_cast<pid_t>(process_.processId()), number); }

  private:
    const TemporaryFolder folder_;
    QProcess process_;
};

} // namespace zelvane::test

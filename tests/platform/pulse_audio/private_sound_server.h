// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/clips.h"

namespace zelvane::test {

/// A private PulseAudio server with the null sinks n1 (the default) and n2, and its files in a
/// temporary folder. Other servers are not touched.
class PrivateSoundServer {
  public:
    /// Whether pulseaudio and pactl are installed.
    static bool isAvailable();

    PrivateSoundServer() { start(); }
    ~PrivateSoundServer() { kill(); }
    PrivateSoundServer(const PrivateSoundServer&) = delete;
    PrivateSoundServer& operator=(const PrivateSoundServer&) = delete;

    /// The address for clients.
    std::string address() const { return "unix:" + socketPath(); }
    /// Returns when the server accepts connections.
    void start();
    /// Ends the server as a crash would.
    void kill();
    /// Returns the output of `pactl <arguments>`.
    std::string pactl(const std::string& arguments) const;

  private:
    class Readiness;

    std::string socketPath() const { return (folder_.path() / "pulse.sock").string(); }
    std::vector<std::string> environment() const;

    TemporaryFolder folder_;
    pid_t process_ = 0;
};

} // namespace zelvane::test

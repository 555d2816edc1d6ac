// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/clips.h"

namespace zelvane::test {

/// A PulseAudio server of the test's own with the null sinks n1, the default one, and n2. Its files
/// lie in a folder that goes with it; nobody else's server is touched.
class PrivateSoundServer {
  public:
    /// Whether the programs it needs are installed.
    static bool isAvailable();

    PrivateSoundServer() { start(); }
    ~PrivateSoundServer() { kill(); }
    PrivateSoundServer(const PrivateSoundServer&) = delete;
    PrivateSoundServer& operator=(const PrivateSoundServer&) = delete;

    /// What to connect to.
    std::string address() const { return "unix:" + socketPath(); }
    /// Returns once the server takes connections.
    void start();
    /// At once, as if it had crashed.
    void kill();
    /// What `pactl <arguments>` prints.
    std::string pactl(const std::string& arguments) const;

  private:
    class Readiness;

    std::string socketPath() const { return (folder_.path() / "pulse.sock").string(); }
    std::vector<std::string> environment() const;

    TemporaryFolder folder_;
    pid_t process_ = 0;
};

} // namespace zelvane::test

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/platform/pulse_audio/private_sound_server.h"
#include "tests/player_window/real_input/desktop_session.h"
#include "tests/support/clips.h"

namespace zelvane::test {

/// The desktop program on the virtual screen of this test, with a desktop and a sound server, used
/// by real input and observed from outside.
class RealPlayer {
  public:
    /// Whether the programs that this needs are installed.
    static bool isAvailable(Desktop desktop);

    /// Opens as many windows as files and waits for them, their pictures and their sound.
    RealPlayer(Desktop desktop, const std::vector<std::string>& files);

    /// Menus are windows too.
    std::size_t windowCount() const { return session_->windowCount(player_->pid()); }
    /// The first window on the screen; invalid when there is none.
    QRect rect() const { return session_->rect(player_->pid()); }
    bool isActive() const { return session_->isActive(player_->pid()); }
    bool hasEndedWell() { return player_->hasEndedWell(); }

    static void press(const std::string& key) { xdotool("key " + key); }
    static void moveTo(const QPoint& point);
    static void click(const QPoint& point, int button = 1);

    PrivateSoundServer& soundServer() { return sound_; }
    /// One entry for each stream at the sound server: whether it plays.
    std::vector<bool> streams() const;
    bool waitForStreams(const std::vector<bool>& playing) const;
    /// The volume of the only stream in per cent.
    int volume() const;

  private:
    PrivateSoundServer sound_;
    TemporaryFolder folder_;
    std::unique_ptr<DesktopSession> session_;
    std::optional<Child> player_;
};

} // namespace zelvane::test

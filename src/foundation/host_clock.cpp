// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/host_clock.h"

namespace zelvane {
namespace {

class SystemHostClock final : public HostClock {
  public:
    HostTime now() const override { return std::chrono::steady_clock::now().time_since_epoch(); }
};

} // namespace

std::shared_ptr<HostClock> HostClock::system() {
    static const std::shared_ptr<HostClock> clock = std::make_shared<SystemHostClock>();
    return clock;
}

} // namespace zelvane

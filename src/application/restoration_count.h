// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "foundation/state_coder.h"

namespace zelvane {

/// How often in a row the program ended while it restored a window, as part of the window's state:
/// a file that crashes the program must not do so at each start. A value.
///
///   together, beside all others ──(ended)──> alone, after all others ──(ended)──> left out
class RestorationCount {
  public:
    enum class Turn { together, alone, leftOut };

    /// Of a window that is not being restored.
    RestorationCount() = default;
    static RestorationCount decode(const StateCoder& coder);
    /// A count of zero is not written.
    void encode(StateCoder& coder) const;

    Turn turn() const;
    /// To be stored before the window is restored, and until that has ended well.
    RestorationCount next() const { return RestorationCount(ended_ + 1); }

  private:
    explicit RestorationCount(std::int64_t ended) : ended_(ended) {}

    std::int64_t ended_ = 0;
};

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace zelvane {

/// Formats the times of the labels: minutes and seconds, and hours from one hour on. Any thread.
class TimeFormatter {
  public:
    /// `alwaysIncludeHours` keeps the labels of one file equally wide.
    explicit TimeFormatter(bool alwaysIncludeHours) : alwaysIncludeHours_(alwaysIncludeHours) {}

    /// "00:05", "-01:02:03", "100:00:00". Fractions of a second are cut off. Minus zero has a sign,
    /// so that a remaining time keeps its width at the end. A value that is not a number reads as
    /// zero.
    std::string string(double seconds) const;

  private:
    bool alwaysIncludeHours_;
};

} // namespace zelvane

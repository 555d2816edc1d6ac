// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/spoken_time.h"

#include <algorithm>
#include <limits>

#include <QCoreApplication>
#include <QStringList>

namespace zelvane {
namespace {

struct SpokenTime {
    Q_DECLARE_TR_FUNCTIONS(SpokenTime)
};

constexpr int kSecondsPerMinute = 60;
constexpr int kSecondsPerHour = 3600;

} // namespace

QString spokenTime(double seconds) {
    constexpr double kLongest = std::numeric_limits<int>::max();
    const int whole = seconds > 0 ? static_cast<int>(std::min(seconds, kLongest)) : 0;
    const int hours = whole / kSecondsPerHour;
    const int minutes = whole % kSecondsPerHour / kSecondsPerMinute;
    const int rest = whole % kSecondsPerMinute;
    QStringList parts;
    if (hours > 0) {
        parts << (hours == 1 ? SpokenTime::tr("1 hour") : SpokenTime::tr("%n hours", "", hours));
    }
    if (minutes > 0) {
        parts << (minutes == 1 ? SpokenTime::tr("1 minute")
                               : SpokenTime::tr("%n minutes", "", minutes));
    }
    if (rest > 0 || parts.isEmpty()) {
        parts << (rest == 1 ? SpokenTime::tr("1 second") : SpokenTime::tr("%n seconds", "", rest));
    }
    return parts.join(QStringLiteral(", "));
}

} // namespace zelvane

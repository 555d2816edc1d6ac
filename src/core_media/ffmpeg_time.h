// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>

#include "core_media/ffmpeg.h"
#include "foundation/cm_time.h"

namespace zelvane {

/// A stream's or container's time stamp as a time; none for AV_NOPTS_VALUE or a zero in the base. A
/// product that overflows 64 bits stops the process.
std::optional<CMTime> timeFromStamp(std::int64_t stamp, AVRational timeBase);

/// `time` in units of `timeBase`, rounded toward negative infinity. A numerator of 0 stops the
/// process.
std::int64_t stampFromTime(const CMTime& time, AVRational timeBase);

/// `time` in microseconds, FFmpeg's unit for whole containers, rounded toward negative infinity.
std::int64_t containerStampFromTime(const CMTime& time);

} // namespace zelvane

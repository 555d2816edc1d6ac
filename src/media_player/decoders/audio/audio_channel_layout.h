// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "core_media/audio_format.h"

namespace zelvane {

/// The layout tag of an FFmpeg channel mask. Channels of a like place stand in for each other, as
/// side and back surrounds do; the layout with the fewest such substitutions is taken. A mask of 0
/// takes the usual layout of so many channels, and a log line. Throws FFmpegError:
/// unsupportedChannelCount, unexpectedChannelType, channelLayoutDoesNotMatchChannelCount, or
/// unsupportedChannelLayout when no layout fits, or two fit equally well.
AudioChannelLayoutTag audioChannelLayoutTag(std::uint64_t channelMask, int channelCount);

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "core_media/ffmpeg.h"

namespace zelvane {

/// The payload of the mastering display colour volume SEI message (SMPTE ST 2086): 24 bytes, zero
/// where the metadata says nothing. None where a chromaticity does not fit 16 bits: such metadata
/// is damaged.
std::optional<std::vector<std::uint8_t>>
masteringDisplayColorVolumeSEIMessageData(const AVMasteringDisplayMetadata& metadata);

/// The payload of the content light level information SEI message (CTA-861.3): 4 bytes. None where
/// a level is above 65535.
std::optional<std::vector<std::uint8_t>>
contentLightLevelInfoSEIMessageData(const AVContentLightMetadata& metadata);

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "core_media/cv_pixel_buffer.h"
#include "platform/video_placebo/placebo.h"

namespace zelvane {

/// A picture in memory as libplacebo wants it told: where its samples lie and what they mean.
struct PlaceboFrameMapping {
    int planeCount = 0;
    /// Point into the picture's memory.
    std::array<pl_plane_data, PL_MAX_PLANES> planes{};
    pl_color_repr repr{};
    pl_color_space color{};
    pl_chroma_location chromaLocation = PL_CHROMA_UNKNOWN;
    /// Set when the picture's colours are told by a profile alone. Points into its attachments.
    std::span<const std::uint8_t> iccProfile;
};

/// None for formats that no picture of this system is shown in, and for pictures on a device.
std::optional<PlaceboFrameMapping> placeboFrameMapping(const CVPixelBuffer& picture);

} // namespace zelvane

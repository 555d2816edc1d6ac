// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "core_media/cv_pixel_buffer.h"
#include "platform/video_placebo/placebo.h"

namespace zelvane {

/// A picture in libplacebo's terms: where its samples are and what they mean.
struct PlaceboFrameMapping {
    int planeCount = 0;
    /// Point into the picture's memory; null for one on a device.
    std::array<pl_plane_data, PL_MAX_PLANES> planes{};
    pl_color_repr repr{};
    pl_color_space color{};
    pl_chroma_location chromaLocation = PL_CHROMA_UNKNOWN;
    /// Set when only a profile describes the picture's colours. Points into its attachments.
    std::span<const std::uint8_t> iccProfile;
};

/// The colours of a screen without a profile for a picture of the given colours: sRGB, but with the
/// picture's own curve for SDR video, as in all players.
pl_color_space screenColorFor(const pl_color_space& picture);

/// None for formats that decoders do not deliver.
std::optional<PlaceboFrameMapping> placeboFrameMapping(const CVPixelBuffer& picture);

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "core_media/cv_pixel_buffer.h"
#include "platform/video_raster/color_math.h"

namespace zelvane::raster {

/// How code values become light.
enum class Transfer {
    /// Every camera curve of SDR television is shown by the one screen of BT.1886.
    bt1886,
    gamma,
    sRGB,
    linear,
    /// SMPTE ST 428-1.
    dcdm,
    pq,
    hlg,
};

/// What the numbers of a picture mean, read from its attachments. Equal values need equal tables.
struct SourceColor {
    Primaries primaries = kPrimariesBT709;
    Transfer transfer = Transfer::bt1886;
    double gamma = 2.2;
    LumaWeights luma = kLumaBT709;
    /// The luminance of the brightest pixel, for PQ, in cd/m².
    double peak = kHLGPeak;
    /// A profile in place of primaries and transfer; empty for coded colour.
    std::vector<std::uint8_t> iccProfile;
    friend bool operator==(const SourceColor&, const SourceColor&) = default;
};

/// Attachments that are absent or unknown give what pictures of that size and kind have.
///
/// The peak of a PQ picture is its MaxCLL if it states one, but no more than the mastering screen's
/// maximum if it states that; stating neither it is 1000 cd/m², what most pictures are made on.
SourceColor sourceColorOf(const CVPixelBuffer& picture);

/// Light of one channel, 0…1 of the screen's white, before primaries are converted. For HLG: scene
/// light, 0…1.
double channelToLight(const SourceColor& color, double code);

} // namespace zelvane::raster

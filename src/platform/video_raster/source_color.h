// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "core_media/cv_pixel_buffer.h"
#include "platform/video_raster/color_math.h"

namespace zelvane::raster {

/// The function from code values to light.
enum class Transfer {
    /// All camera curves of SDR television are graded on the screen of BT.1886.
    bt1886,
    gamma,
    sRGB,
    linear,
    /// SMPTE ST 428-1.
    dcdm,
    pq,
    hlg,
};

/// The colour coding of a picture, from its attachments. Equal values need equal tables.
struct SourceColor {
    Primaries primaries = kPrimariesBT709;
    Transfer transfer = Transfer::bt1886;
    double gamma = 2.2;
    LumaWeights luma = lumaWeights(YCbCrMatrix::bt709);
    /// The luminance of the brightest pixel, for PQ, in cd/m².
    double peak = kHLGPeak;
    /// A profile in place of primaries and transfer; empty for coded colour.
    std::vector<std::uint8_t> iccProfile;
    friend bool operator==(const SourceColor&, const SourceColor&) = default;
};

/// Absent or unknown attachments give the usual values for the picture's size and kind.
///
/// The peak of a PQ picture is its MaxCLL, at most the maximum of its mastering display. Without
/// either it is 1000 cd/m², the usual mastering display.
SourceColor sourceColorOf(const CVPixelBuffer& picture);

/// Light of one channel, 0…1 of the screen's white, before primaries are converted. For HLG: scene
/// light, 0…1.
double channelToLight(const SourceColor& color, double code);

/// Whether a screen without a profile shows the picture with the picture's own curve: SDR video, as
/// in all players.
bool keepsCurve(const SourceColor& color);
/// The inverse of channelToLight(), for a picture that keeps its curve.
double channelFromLight(const SourceColor& color, double light);

} // namespace zelvane::raster

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <optional>

#include "platform/video_raster/pixel_kernels.h"

namespace zelvane::raster {

/// A curve from code to light, both 0…1, for the arithmetic of kernels::affineToLight, which reads
/// no memory for each pixel, as a table does. Null where the error exceeds kSmoothCurveError.
/// BT.1886, IEC 61966-2-1 and pure powers of 2.2 and more stay below it.
std::optional<kernels::Curve> smoothCurve(const std::function<double(double)>& light);

/// In light: 0.16 of a code value where the curve of a screen is steepest.
inline constexpr double kSmoothCurveError = 5e-5;

/// The same for the inverse: from the fourth root of light, 0…1, to a code, 0…1. Null where the
/// error exceeds kSmoothCodeError; pure powers stay below it.
std::optional<kernels::RootCurve> smoothRootCurve(const std::function<double(double)>& code);

/// An eighth of a code value.
inline constexpr double kSmoothCodeError = 5e-4;

} // namespace zelvane::raster

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <optional>

#include "platform/video_raster/pixel_kernels.h"

namespace zelvane::raster {

/// A curve from code to light, both 0…1, as the arithmetic of kernels::affineToLight: no trip to
/// memory for each pixel, as a table would cost. Null for a curve that cannot be had within
/// kSmoothCurveError; that of BT.1886 and of IEC 61966-2-1 can, and pure powers of 2.2 and more.
std::optional<kernels::Curve> smoothCurve(const std::function<double(double)>& light);

/// Of light: 0.16 of a code value where the curve of a screen is at its steepest.
inline constexpr double kSmoothCurveError = 5e-5;

/// The same for a way back: from the fourth root of light, 0…1, to a code, 0…1. Null for one that
/// cannot be had within kSmoothCodeError; pure powers can.
std::optional<kernels::RootCurve> smoothRootCurve(const std::function<double(double)>& code);

/// An eighth of a code value.
inline constexpr double kSmoothCodeError = 5e-4;

} // namespace zelvane::raster

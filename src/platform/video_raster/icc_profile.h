// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "platform/video_raster/color_math.h"

namespace zelvane::raster {

/// An ICC profile of an RGB device, between its codes (0…1) and the profile connection space: XYZ
/// for D50, white at Y = 1, relative colorimetric. Immutable; any thread.
class IccProfile {
  public:
    /// Null unless the bytes are a profile of an RGB device that lcms can use in both directions.
    static std::shared_ptr<const IccProfile> read(std::span<const std::uint8_t> bytes);
    ~IccProfile();
    IccProfile(const IccProfile&) = delete;
    IccProfile& operator=(const IccProfile&) = delete;

    Vector3 toXYZ(const Vector3& codes) const;
    /// Colours outside of the device's gamut are clipped.
    Vector3 fromXYZ(const Vector3& xyz) const;

    /// Whether the profile is a curve for each channel and a matrix. The functions below are for
    /// such profiles only.
    bool isShaper() const;
    const Matrix3& matrixToXYZ() const;
    /// Whether the curves of the channels are the same.
    bool hasOneCurve() const;
    double channelToLight(std::size_t channel, double code) const;
    double channelFromLight(std::size_t channel, double light) const;

  private:
    struct Parts;
    explicit IccProfile(std::unique_ptr<Parts> parts);
    std::unique_ptr<Parts> parts_;
};

} // namespace zelvane::raster

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "platform/video_raster/color_lattice.h"
#include "platform/video_raster/icc_profile.h"
#include "platform/video_raster/picture_rows.h"
#include "platform/video_raster/pixel_kernels.h"
#include "platform/video_raster/source_color.h"

namespace zelvane::raster {

/// Rows of one kind of picture to pixels of one screen. Three roads, the cheapest that is exact:
///
///   matrix:   R'G'B' of the picture is that of the screen
///   light:    curve for each channel to light, matrix between primaries, and curves back
///   lattice:  a profile that is no matrix on either side: interpolation in a cube of colours
///
/// Immutable: any threads, each with scratch of its own.
class ColorConversion {
    /// Pixels at a time, so that what one loop writes the next one finds in the nearest cache.
    static constexpr std::size_t kBlock = 512;

  public:
    /// Room for what one loop hands to the next.
    struct Scratch {
        std::uint16_t codes[3][kBlock];
        float light[3][kBlock];
    };

    ColorConversion(const ColorConversion&) = delete;
    ColorConversion& operator=(const ColorConversion&) = delete;
    /// `display` null is sRGB.
    ColorConversion(const SourceColor& source, const PictureRows::Scale& scale,
                    const std::shared_ptr<const IccProfile>& display);

    /// Writes `width` pixels B, G, R, 255.
    void convertRow(const PictureRows::Row& row, std::size_t width, std::uint8_t* pixels,
                    Scratch& scratch) const;

    /// Whether R, G and B of eight bits each are what the screen wants as they stand.
    bool keepsBytes() const { return keepsBytes_; }

  private:
    /// Steps of codes: PQ is steep at its top, and saturated colours are small differences of large
    /// numbers. The tables have an entry more.
    static constexpr int kCodeSteps = 16384;
    /// Steps of roots of light.
    static constexpr int kSteps = 4096;

    int codeLimit() const;
    void makeLight(const SourceColor& source, const IccProfile* sourceProfile);
    void makeScreen(const SourceColor& source, const IccProfile* sourceProfile,
                    const IccProfile* display);
    void makeScreenCurve(const IccProfile& display);
    void makeHLGTables(const SourceColor& source);
    void makeLattice(const SourceColor& source, const IccProfile* sourceProfile,
                     const IccProfile* display);
    void toLight(const kernels::Channels16& in, Scratch& scratch, std::size_t count) const;
    void toScreen(Scratch& scratch, std::size_t count, std::uint8_t* pixels) const;
    void showHLG(Scratch& scratch, std::size_t count) const;

    enum class Road { matrix, light, lattice };
    Road road_ = Road::matrix;
    bool isBT1886_ = false;
    bool keepsBytes_ = false;
    kernels::Affine toCodes_{};
    bool isHLG_ = false;

    /// The way to light: by arithmetic where that is exact, by tables elsewhere, one for each
    /// channel or one for all of them.
    std::optional<kernels::Curve> lightCurve_;
    std::vector<std::vector<float>> lightTables_;
    kernels::Affine mix_{};
    /// Where a screen's profile has one for all channels that is arithmetic.
    std::optional<kernels::RootCurve> screenCurve_;
    /// For other profiles. Empty for sRGB, whose curve is calculated.
    std::array<std::vector<std::uint8_t>, 3> encodeTables_;
    /// For HLG: luminance to the factor of the screen's gamma, and screen light to tone-mapped
    /// light.
    std::vector<float> gammaTable_;
    std::vector<float> toneTable_;
    kernels::LuminanceGain screenGamma_{};
    std::unique_ptr<ColorLattice> lattice_;
};

} // namespace zelvane::raster

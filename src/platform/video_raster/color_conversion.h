// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/video_raster/color_lattice.h"
#include "platform/video_raster/icc_profile.h"
#include "platform/video_raster/picture_rows.h"
#include "platform/video_raster/pixel_kernels.h"
#include "platform/video_raster/source_color.h"

namespace zelvane::raster {

/// Converts rows of one kind of picture to pixels for one screen, by the cheapest of three paths
/// that is exact:
///
///   matrix:   the screen takes the picture's R'G'B'
///   light:    a curve to light for each channel, a matrix between primaries, and curves to codes;
///             on a screen without a profile, the inverse curve of SDR video itself
///   lattice:  for profiles with tables: interpolation in a cube of colours
///
/// Immutable. Any number of threads may use it, each with its own scratch.
class ColorConversion {
    /// The number of pixels in a block: small enough for the first-level cache between two loops.
    static constexpr std::size_t kBlock = 512;

  public:
    /// Intermediate values between two loops.
    struct Scratch {
        std::uint16_t codes[3][kBlock];
        float light[3][kBlock];
    };

    ColorConversion(const ColorConversion&) = delete;
    ColorConversion& operator=(const ColorConversion&) = delete;
    /// A null `display` means sRGB.
    ColorConversion(const SourceColor& source, const PictureRows::Scale& scale,
                    const std::shared_ptr<const IccProfile>& display);

    /// Writes `width` pixels B, G, R, 255.
    void convertRow(const PictureRows::Row& row, std::size_t width, std::uint8_t* pixels,
                    Scratch& scratch) const;

    /// Whether 8-bit R, G and B pass to the screen unchanged.
    bool keepsBytes() const { return keepsBytes_; }

  private:
    /// The number of code steps: PQ is steep at its top, and saturated colours are small
    /// differences of large numbers. The tables have one more entry.
    static constexpr int kCodeSteps = 16384;
    /// The number of steps of the square root of light.
    static constexpr int kSteps = 4096;

    int codeLimit() const;
    void makeLight(const SourceColor& source, const IccProfile* sourceProfile);
    void makeScreen(const SourceColor& source, const IccProfile* sourceProfile,
                    const IccProfile* display);
    void makeScreenCurve(const std::function<double(std::size_t channel, double light)>& code,
                         bool isOneCurve);
    void makeHLGTables(const SourceColor& source);
    void makeLattice(const SourceColor& source, const IccProfile* sourceProfile,
                     const IccProfile* display);
    void toLight(const kernels::Channels16& in, Scratch& scratch, std::size_t count) const;
    void toScreen(Scratch& scratch, std::size_t count, std::uint8_t* pixels) const;
    void showHLG(Scratch& scratch, std::size_t count) const;

    enum class Path { matrix, light, lattice };
    Path path_ = Path::matrix;
    bool keepsBytes_ = false;
    kernels::Affine toCodes_{};
    bool isHLG_ = false;

    /// Code to light: by arithmetic where that is exact, else by one table or one for each channel.
    std::optional<kernels::Curve> lightCurve_;
    std::vector<std::vector<float>> lightTables_;
    kernels::Affine mix_{};
    /// Light to code, where one polynomial serves all channels.
    std::optional<kernels::RootCurve> screenCurve_;
    /// Light to code for other screens. Empty for sRGB, whose curve is calculated.
    std::array<std::vector<std::uint8_t>, 3> encodeTables_;
    /// For HLG: luminance to the factor of the system gamma, and display light to tone-mapped
    /// light.
    std::vector<float> gammaTable_;
    std::vector<float> toneTable_;
    kernels::LuminanceGain screenGamma_{};
    std::unique_ptr<ColorLattice> lattice_;
};

} // namespace zelvane::raster

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/video_raster/color_conversion.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <type_traits>

#include "platform/video_raster/smooth_curve.h"

namespace zelvane::raster {
namespace {

constexpr Matrix3 kIdentity{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};

/// Converts the numbers of a row to R'G'B' of 0…limit.
kernels::Affine affineOf(const Matrix3& matrix, const PictureRows::Scale& scale, double limit) {
    kernels::Affine affine{};
    for (std::size_t row = 0; row < 3; ++row) {
        double offset = 0;
        for (std::size_t column = 0; column < 3; ++column) {
            const double factor = limit * matrix[row][column] * scale.scale[column];
            affine.factor[row][column] = static_cast<float>(factor);
            offset -= factor * scale.zero[column];
        }
        affine.offset[row] = static_cast<float>(offset);
    }
    return affine;
}

template <class Value>
std::vector<Value> tabulate(int steps, const std::function<double(double)>& function,
                            double scale = 1) {
    std::vector<Value> table(static_cast<std::size_t>(steps) + 1);
    for (int i = 0; i <= steps; ++i) {
        double value = scale * function(static_cast<double>(i) / steps);
        // The curves of broken profiles may have any value.
        value = std::isfinite(value) ? std::clamp(value, 0.0, scale) : 0.0;
        table[static_cast<std::size_t>(i)] =
            static_cast<Value>(std::is_integral_v<Value> ? std::round(value) : value);
    }
    return table;
}

bool keepsCodes(const SourceColor& source, const IccProfile* sourceProfile,
                const IccProfile* display) {
    return sourceProfile == nullptr && display == nullptr && keepsCurve(source) &&
           source.primaries == kPrimariesBT709;
}

Matrix3 matrixToXYZ(const SourceColor& source, const IccProfile* profile) {
    return profile != nullptr ? profile->matrixToXYZ() : rgbToXYZD50(source.primaries);
}

/// The luminance row of a matrix to XYZ, before adaptation to another white.
Vector3 luminanceWeights(const Primaries& primaries) {
    const auto luma = lumaWeightsOf(primaries);
    return {luma.red, 1 - luma.red - luma.blue, luma.blue};
}

double hlgGain(double sceneLuminance) {
    return std::pow(sceneLuminance, kHLGSystemGamma - 1);
}

/// The light of the channels for the codes of one colour.
Vector3 lightOf(const SourceColor& source, const Vector3& codes) {
    Vector3 light{};
    for (std::size_t i = 0; i < 3; ++i) {
        light[i] = channelToLight(source, codes[i]);
    }
    if (source.transfer == Transfer::hlg) {
        const auto weights = luminanceWeights(source.primaries);
        const double gain =
            hlgGain(weights[0] * light[0] + weights[1] * light[1] + weights[2] * light[2]);
        for (auto& channel : light) {
            channel = toneMap(channel * gain * kHLGPeak, kHLGPeak);
        }
    }
    return light;
}

Vector3 codesOfScreen(const IccProfile* display, const Vector3& xyz) {
    if (display != nullptr) {
        return display->fromXYZ(xyz);
    }
    auto light = inverse(rgbToXYZD50(kPrimariesBT709)) * xyz;
    for (auto& channel : light) {
        channel = sRGBFromLinear(std::clamp(channel, 0.0, 1.0));
    }
    return light;
}

} // namespace

ColorConversion::ColorConversion(const SourceColor& source, const PictureRows::Scale& scale,
                                 const std::shared_ptr<const IccProfile>& display)
    : isHLG_(source.transfer == Transfer::hlg && source.iccProfile.empty()) {
    const auto sourceProfile = IccProfile::read(source.iccProfile);
    const bool areShapers = (sourceProfile == nullptr || sourceProfile->isShaper()) &&
                            (display == nullptr || display->isShaper());
    if (keepsCodes(source, sourceProfile.get(), display.get())) {
        path_ = Path::matrix;
    } else {
        path_ = areShapers ? Path::light : Path::lattice;
    }
    if (path_ == Path::light) {
        makeLight(source, sourceProfile.get());
        makeScreen(source, sourceProfile.get(), display.get());
    } else if (path_ == Path::lattice) {
        makeLattice(source, sourceProfile.get(), display.get());
    }
    const auto matrix = scale.isYCbCr ? yCbCrToRGB(source.luma) : kIdentity;
    toCodes_ = affineOf(matrix, scale, codeLimit());
    keepsBytes_ = path_ == Path::matrix && !scale.isYCbCr &&
                  scale.scale == Vector3{1 / 255.0, 1 / 255.0, 1 / 255.0};
}

int ColorConversion::codeLimit() const {
    switch (path_) {
    case Path::matrix:
        return 255;
    case Path::light:
        return lightCurve_ ? 1 : kCodeSteps;
    case Path::lattice:
        return ColorLattice::kCodeLimit;
    }
    return 0;
}

void ColorConversion::makeLight(const SourceColor& source, const IccProfile* sourceProfile) {
    if (sourceProfile != nullptr) {
        for (std::size_t i = 0; i < 3; ++i) {
            lightTables_.push_back(tabulate<float>(
                kCodeSteps, [&](double code) { return sourceProfile->channelToLight(i, code); }));
        }
        return;
    }
    const auto light = [&](double code) { return channelToLight(source, code); };
    // The inverse of a power is steep at black, where the error of a polynomial would be visible.
    if (source.transfer != Transfer::gamma) {
        lightCurve_ = smoothCurve(light);
    }
    if (!lightCurve_) {
        lightTables_.push_back(tabulate<float>(kCodeSteps, light));
    }
    if (isHLG_) {
        makeHLGTables(source);
    }
}

void ColorConversion::makeScreen(const SourceColor& source, const IccProfile* sourceProfile,
                                 const IccProfile* display) {
    if (display != nullptr) {
        makeScreenCurve(
            [&](std::size_t i, double light) { return display->channelFromLight(i, light); },
            display->hasOneCurve());
    } else if (keepsCurve(source) && source.transfer != Transfer::sRGB) {
        makeScreenCurve([&](std::size_t, double light) { return channelFromLight(source, light); },
                        true);
    }
    const auto toScreen =
        inverse(display != nullptr ? display->matrixToXYZ() : rgbToXYZD50(kPrimariesBT709));
    const auto mix = toScreen * matrixToXYZ(source, sourceProfile);
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            mix_.factor[row][column] = static_cast<float>(mix[row][column]);
        }
    }
}

void ColorConversion::makeScreenCurve(
    const std::function<double(std::size_t channel, double light)>& code, bool isOneCurve) {
    if (isOneCurve) {
        screenCurve_ = smoothRootCurve([&](double root) { return code(0, std::pow(root, 4)); });
    }
    for (std::size_t i = 0; !screenCurve_ && i < 3; ++i) {
        encodeTables_[i] = tabulate<std::uint8_t>(
            kSteps, [&](double root) { return code(i, root * root); }, 255);
    }
}

void ColorConversion::makeHLGTables(const SourceColor& source) {
    gammaTable_ = tabulate<float>(kSteps, [](double root) { return hlgGain(root * root); });
    toneTable_ = tabulate<float>(
        kCodeSteps, [](double root) { return toneMap(root * root * kHLGPeak, kHLGPeak); });
    const auto weights = luminanceWeights(source.primaries);
    screenGamma_ = {{static_cast<float>(weights[0]), static_cast<float>(weights[1]),
                     static_cast<float>(weights[2])},
                    gammaTable_.data(),
                    kSteps};
}

void ColorConversion::makeLattice(const SourceColor& source, const IccProfile* sourceProfile,
                                  const IccProfile* display) {
    const auto toXYZ = matrixToXYZ(source, nullptr);
    lattice_ = std::make_unique<ColorLattice>([&](const Vector3& codes) {
        const auto xyz =
            sourceProfile != nullptr ? sourceProfile->toXYZ(codes) : toXYZ * lightOf(source, codes);
        return codesOfScreen(display, xyz);
    });
}

void ColorConversion::convertRow(const PictureRows::Row& row, std::size_t width,
                                 std::uint8_t* pixels, Scratch& scratch) const {
    if (path_ == Path::matrix) {
        kernels::affineToPixels({{row.channels[0], row.channels[1], row.channels[2]}}, toCodes_,
                                pixels, width);
        return;
    }
    for (std::size_t start = 0; start < width; start += kBlock) {
        const auto count = std::min(kBlock, width - start);
        const kernels::Channels16 in{
            {row.channels[0] + start, row.channels[1] + start, row.channels[2] + start}};
        if (path_ == Path::lattice) {
            std::uint16_t* const codes[3] = {scratch.codes[0], scratch.codes[1], scratch.codes[2]};
            kernels::affineToCodes(in, toCodes_, codeLimit(), codes, count);
            lattice_->convert(codes, pixels + 4 * start, count);
        } else {
            toLight(in, scratch, count);
            toScreen(scratch, count, pixels + 4 * start);
        }
    }
}

void ColorConversion::toLight(const kernels::Channels16& in, Scratch& scratch,
                              std::size_t count) const {
    if (lightCurve_) {
        float* const light[3] = {scratch.light[0], scratch.light[1], scratch.light[2]};
        kernels::affineToLight(in, toCodes_, *lightCurve_, light, count);
        return;
    }
    std::uint16_t* const codes[3] = {scratch.codes[0], scratch.codes[1], scratch.codes[2]};
    kernels::affineToCodes(in, toCodes_, codeLimit(), codes, count);
    for (std::size_t i = 0; i < 3; ++i) {
        const auto& table = lightTables_[std::min(i, lightTables_.size() - 1)];
        kernels::lookUp(scratch.codes[i], table.data(), scratch.light[i], count);
    }
    if (isHLG_) {
        showHLG(scratch, count);
    }
}

void ColorConversion::toScreen(Scratch& scratch, std::size_t count, std::uint8_t* pixels) const {
    const float* const light[3] = {scratch.light[0], scratch.light[1], scratch.light[2]};
    if (screenCurve_) {
        kernels::mixToPixelsOfCurve(light, mix_, *screenCurve_, pixels, count);
        return;
    }
    if (encodeTables_[0].empty()) {
        kernels::mixToSRGBPixels(light, mix_, pixels, count);
        return;
    }
    std::uint16_t* const codes[3] = {scratch.codes[0], scratch.codes[1], scratch.codes[2]};
    const std::uint8_t* const tables[3] = {encodeTables_[0].data(), encodeTables_[1].data(),
                                           encodeTables_[2].data()};
    kernels::mixToRootCodes(light, mix_, kSteps, codes, count);
    kernels::encodePixels(codes, tables, pixels, count);
}

/// Converts scene light to tone-mapped display light.
void ColorConversion::showHLG(Scratch& scratch, std::size_t count) const {
    const float* const light[3] = {scratch.light[0], scratch.light[1], scratch.light[2]};
    std::uint16_t* const codes[3] = {scratch.codes[0], scratch.codes[1], scratch.codes[2]};
    kernels::gainToRootCodes(light, screenGamma_, kCodeSteps, codes, count);
    for (std::size_t i = 0; i < 3; ++i) {
        kernels::lookUp(scratch.codes[i], toneTable_.data(), scratch.light[i], count);
    }
}

} // namespace zelvane::raster

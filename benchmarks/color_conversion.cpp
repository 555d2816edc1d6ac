// SPDX-License-Identifier: GPL-3.0-or-later
//
// Measures the raster presenter on one picture of 1920x1080, for each kind of picture and screen:
// processor time on one thread, and wall time on all processors. All kinds take turns in one run,
// so that load by other programs affects them equally.
//
//   color-conversion [ROUNDS]

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <fmt/format.h>
#include <lcms2.h>

#include "platform/video_raster/raster_converter.h"
#include "tests/support/pixel_buffers.h"

namespace zelvane {
namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;

struct Kind {
    const char* name;
    OSType format;
    std::string_view primaries;
    std::string_view transfer;
    std::string_view matrix;
    double barMilliseconds;
    bool hasWideScreen = false;
};

constexpr auto k709 = kCVImageBufferColorPrimaries_ITU_R_709_2;
constexpr auto kP3 = kCVImageBufferColorPrimaries_P3_D65;
constexpr auto k2020 = kCVImageBufferColorPrimaries_ITU_R_2020;
constexpr auto kSMPTEC = kCVImageBufferColorPrimaries_SMPTE_C;
constexpr auto kTelevision = kCVImageBufferTransferFunction_ITU_R_709_2;
constexpr auto kSRGB = kCVImageBufferTransferFunction_sRGB;
constexpr auto kPQ = kCVImageBufferTransferFunction_SMPTE_ST_2084_PQ;
constexpr auto kHLG = kCVImageBufferTransferFunction_ITU_R_2100_HLG;
constexpr auto kBy709 = kCVImageBufferYCbCrMatrix_ITU_R_709_2;
constexpr auto kBy601 = kCVImageBufferYCbCrMatrix_ITU_R_601_4;
constexpr auto kBy2020 = kCVImageBufferYCbCrMatrix_ITU_R_2020;
constexpr auto k8Bit = kCVPixelFormatType_420YpCbCr8Planar;
constexpr auto k10Bit = kCVPixelFormatType_420YpCbCr10BiPlanarVideoRange;
constexpr auto kBGRA = kCVPixelFormatType_32BGRA;

constexpr double kSDRBar = 4;
constexpr double kHDRBar = 10;

const Kind kKinds[] = {
    {"SDR BT.709, 8 bit", k8Bit, k709, kTelevision, kBy709, kSDRBar},
    {"SDR BT.709, 10 bit", k10Bit, k709, kTelevision, kBy709, kSDRBar},
    {"SDR BT.709, 4:2:2, 8 bit", kCVPixelFormatType_422YpCbCr8, k709, kTelevision, kBy709, kSDRBar},
    {"SDR BT.709, 8 bit, on a P3 screen", k8Bit, k709, kTelevision, kBy709, kSDRBar, true},
    {"SDR BT.601 (525), 8 bit", k8Bit, kSMPTEC, kTelevision, kBy601, kSDRBar},
    {"SDR P3, 8 bit", k8Bit, kP3, kTelevision, kBy709, kSDRBar},
    {"SDR P3, 8 bit, sRGB curve", k8Bit, kP3, kSRGB, kBy709, kSDRBar},
    {"SDR BT.2020, 10 bit", k10Bit, k2020, kTelevision, kBy2020, kSDRBar},
    {"BGRA sRGB", kBGRA, k709, kSRGB, "", kSDRBar},
    {"BGRA P3", kBGRA, kP3, kSRGB, "", kSDRBar},
    {"HDR PQ, 10 bit", k10Bit, k2020, kPQ, kBy2020, kHDRBar},
    {"HDR PQ, 10 bit, on a P3 screen", k10Bit, k2020, kPQ, kBy2020, kHDRBar, true},
    {"HDR HLG, 10 bit", k10Bit, k2020, kHLG, kBy2020, kHDRBar},
    {"HDR HLG, 10 bit, on a P3 screen", k10Bit, k2020, kHLG, kBy2020, kHDRBar, true},
};

/// A gradient with grain: neighbouring pixels differ a little, as in a film.
void fill(const CVPixelBuffer& picture) {
    std::mt19937 random(11);
    for (int plane = 0; plane < picture.planeCount(); ++plane) {
        const auto& layout = picture.plane(plane);
        const bool isWide = picture.pixelFormat() == k10Bit;
        const auto samples = layout.bytesPerRow / (isWide ? 2 : 1);
        for (int y = 0; y < layout.height; ++y) {
            auto* row = layout.baseAddress + layout.bytesPerRow * static_cast<std::size_t>(y);
            for (std::size_t x = 0; x < samples; ++x) {
                const auto slope =
                    40 + 160 * x / samples +
                    20 * static_cast<std::size_t>(y) / static_cast<std::size_t>(kHeight);
                const auto value = static_cast<unsigned>(slope + random() % 16);
                if (isWide) {
                    row[2 * x] = static_cast<std::uint8_t>(random() & 0xc0);
                    row[2 * x + 1] = static_cast<std::uint8_t>(value);
                } else {
                    row[x] = static_cast<std::uint8_t>(value);
                }
            }
        }
    }
}

CVPixelBufferRef makePicture(const Kind& kind) {
    auto picture = test::makePixelBuffer(kind.format, kWidth, kHeight);
    fill(*picture);
    const auto attach = [&](std::string_view key, std::string_view value) {
        if (!value.empty()) {
            picture->setAttachment(key, std::string(value));
        }
    };
    attach(kCVImageBufferColorPrimariesKey, kind.primaries);
    attach(kCVImageBufferTransferFunctionKey, kind.transfer);
    attach(kCVImageBufferYCbCrMatrixKey, kind.matrix);
    return picture;
}

/// The ICC profile of a screen with P3 primaries and gamma 2.2.
DisplayColor wideScreen() {
    const cmsCIExyY white{0.3127, 0.3290, 1};
    const cmsCIExyYTRIPLE primaries{{0.680, 0.320, 1}, {0.265, 0.690, 1}, {0.150, 0.060, 1}};
    cmsToneCurve* curve = cmsBuildGamma(nullptr, 2.2);
    cmsToneCurve* const curves[3] = {curve, curve, curve};
    cmsHPROFILE profile = cmsCreateRGBProfile(&white, &primaries, curves);
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile, nullptr, &size);
    DisplayColor display;
    display.iccProfile.resize(size);
    cmsSaveProfileToMem(profile, display.iccProfile.data(), &size);
    cmsCloseProfile(profile);
    cmsFreeToneCurve(curve);
    return display;
}

class Contest {
  public:
    explicit Contest(const Kind& kind)
        : kind_(kind), picture_(makePicture(kind)), alone_(displayOf(kind), 1),
          together_(displayOf(kind)), target_(kBytesPerRow * kHeight) {
        // The first picture creates the tables.
        convert(alone_);
        convert(together_);
    }

    void run() {
        aloneTimes_.push_back(convert(alone_, CLOCK_THREAD_CPUTIME_ID));
        togetherTimes_.push_back(convert(together_));
    }

    void print() {
        const double together = median(togetherTimes_);
        fmt::print("| {} | {:.1f} | **{:.1f}** | {:.0f} |\n", kind_.name, median(aloneTimes_),
                   together, kind_.barMilliseconds);
    }

  private:
    static constexpr std::size_t kBytesPerRow = kWidth * std::size_t{4};

    static DisplayColor displayOf(const Kind& kind) {
        return kind.hasWideScreen ? wideScreen() : DisplayColor{};
    }
    /// Wall time in milliseconds.
    double convert(RasterConverter& converter, clockid_t clock = CLOCK_MONOTONIC) {
        const double begin = now(clock);
        converter.convert(*picture_, target_, kBytesPerRow);
        return now(clock) - begin;
    }
    static double now(clockid_t clock) {
        timespec time{};
        clock_gettime(clock, &time);
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
    }
    static double median(std::vector<double>& times) {
        std::sort(times.begin(), times.end());
        return times[times.size() / 2];
    }

    const Kind& kind_;
    CVPixelBufferRef picture_;
    RasterConverter alone_;
    RasterConverter together_;
    std::vector<std::uint8_t> target_;
    std::vector<double> aloneTimes_;
    std::vector<double> togetherTimes_;
};

void runContests(int rounds) {
    std::vector<std::unique_ptr<Contest>> contests;
    for (const auto& kind : kKinds) {
        contests.push_back(std::make_unique<Contest>(kind));
    }
    for (int round = 0; round < rounds; ++round) {
        // Other work evicts the caches between the pictures of a film, too.
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        for (const auto& contest : contests) {
            contest->run();
        }
    }
    fmt::print(
        "| Picture | CPU ms on one processor | wall ms on all | bar ms |\n|---|---|---|---|\n");
    for (const auto& contest : contests) {
        contest->print();
    }
}

} // namespace
} // namespace zelvane

int main(int argc, char** argv) {
    constexpr int kRounds = 40;
    zelvane::runContests(argc > 1 ? std::max(1, std::atoi(argv[1])) : kRounds);
}

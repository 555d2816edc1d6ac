// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/hdr_color_spaces.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include <lcms2.h>

#include "core_media/cv_attachments.h"
#include "foundation/log.h"
#include "foundation/release.h"

namespace zelvane {
namespace {

using Profile = std::unique_ptr<void, Release<cmsCloseProfile>>;

using ToneCurve = std::unique_ptr<cmsToneCurve, Release<cmsFreeToneCurve>>;

using Text = std::unique_ptr<cmsMLU, Release<cmsMLUfree>>;

/// SMPTE ST 2084: code value to light, both from 0 to 1, where 1 is 10000 candela per square metre.
double lightOfPQ(double code) {
    constexpr double m1 = 2610.0 / 16384;
    constexpr double m2 = 2523.0 / 4096 * 128;
    constexpr double c1 = 3424.0 / 4096;
    constexpr double c2 = 2413.0 / 4096 * 32;
    constexpr double c3 = 2392.0 / 4096 * 32;
    const double power = std::pow(code, 1 / m2);
    return std::pow(std::max(power - c1, 0.0) / (c2 - c3 * power), 1 / m1);
}

/// ARIB STD-B67: code value to the light of the scene, both from 0 to 1.
double lightOfHLG(double code) {
    constexpr double a = 0.17883277;
    constexpr double b = 1 - 4 * a;
    const double c = 0.5 - a * std::log(4 * a);
    return code <= 0.5 ? code * code / 3 : (std::exp((code - c) / a) + b) / 12;
}

/// With this many entries the step between neighbours is below one of 12 bits.
ToneCurve toneCurve(double (*lightOfCode)(double)) {
    std::array<cmsUInt16Number, 4096> table{};
    for (std::size_t i = 0; i < table.size(); ++i) {
        const double light = lightOfCode(static_cast<double>(i) / (table.size() - 1));
        table[i] = static_cast<cmsUInt16Number>(std::lround(std::clamp(light, 0.0, 1.0) * 65535));
    }
    return ToneCurve(cmsBuildTabulatedToneCurve16(nullptr, table.size(), table.data()));
}

void writeText(const Profile& profile, cmsTagSignature tag, const char* value) {
    const Text text(cmsMLUalloc(nullptr, 1));
    cmsMLUsetASCII(text.get(), "en", "US", value);
    cmsWriteTag(profile.get(), tag, text.get());
}

/// lcms writes the current time into a profile; equal pictures must carry equal bytes.
void setCreationDate(std::vector<std::uint8_t>& bytes) {
    constexpr std::size_t kDateOffset = 24;
    constexpr std::array<std::uint8_t, 12> kFirstOfJanuary2024{0x07, 0xe8, 0, 1, 0, 1};
    std::copy(kFirstOfJanuary2024.begin(), kFirstOfJanuary2024.end(), bytes.begin() + kDateOffset);
}

std::vector<std::uint8_t> profileBytes(const cmsCIExyYTRIPLE& primaries,
                                       double (*lightOfCode)(double), const char* name) {
    constexpr cmsCIExyY kD65{0.3127, 0.3290, 1};
    const ToneCurve curve = toneCurve(lightOfCode);
    std::array<cmsToneCurve*, 3> curves{curve.get(), curve.get(), curve.get()};
    const Profile profile(cmsCreateRGBProfile(&kD65, &primaries, curves.data()));
    cmsUInt32Number size = 0;
    if (profile == nullptr) {
        return {};
    }
    cmsSetProfileVersion(profile.get(), 4.0);
    writeText(profile, cmsSigProfileDescriptionTag, name);
    writeText(profile, cmsSigCopyrightTag, "No copyright, use freely");
    if (cmsSaveProfileToMem(profile.get(), nullptr, &size) == 0) {
        return {};
    }
    std::vector<std::uint8_t> bytes(size);
    cmsSaveProfileToMem(profile.get(), bytes.data(), &size);
    setCreationDate(bytes);
    return bytes;
}

struct Preset {
    std::string_view primaries;
    std::string_view transfer;
    CGColorSpaceRef colorSpace;
};

CGColorSpaceRef makeColorSpace(const cmsCIExyYTRIPLE& primaries, double (*lightOfCode)(double),
                               const char* name) {
    auto made = CGColorSpace::createWithICCData(profileBytes(primaries, lightOfCode, name));
    if (made == nullptr) {
        fatalError("A colour profile of our own making is no colour profile.");
    }
    return made;
}

std::array<Preset, 4> makePresets() {
    constexpr cmsCIExyYTRIPLE kBT2020{{0.708, 0.292, 1}, {0.170, 0.797, 1}, {0.131, 0.046, 1}};
    constexpr cmsCIExyYTRIPLE kP3{{0.680, 0.320, 1}, {0.265, 0.690, 1}, {0.150, 0.060, 1}};
    return {{
        {kCVImageBufferColorPrimaries_ITU_R_2020, kCVImageBufferTransferFunction_SMPTE_ST_2084_PQ,
         makeColorSpace(kBT2020, lightOfPQ, "Rec. ITU-R BT.2020; SMPTE ST 2084 PQ")},
        {kCVImageBufferColorPrimaries_ITU_R_2020, kCVImageBufferTransferFunction_ITU_R_2100_HLG,
         makeColorSpace(kBT2020, lightOfHLG, "Rec. ITU-R BT.2020; ARIB STD-B67 HLG")},
        {kCVImageBufferColorPrimaries_P3_D65, kCVImageBufferTransferFunction_SMPTE_ST_2084_PQ,
         makeColorSpace(kP3, lightOfPQ, "Display P3; SMPTE ST 2084 PQ")},
        {kCVImageBufferColorPrimaries_P3_D65, kCVImageBufferTransferFunction_ITU_R_2100_HLG,
         makeColorSpace(kP3, lightOfHLG, "Display P3; ARIB STD-B67 HLG")},
    }};
}

bool isHDR(std::string_view transfer) {
    return transfer == kCVImageBufferTransferFunction_SMPTE_ST_2084_PQ ||
           transfer == kCVImageBufferTransferFunction_ITU_R_2100_HLG;
}

} // namespace

CGColorSpaceRef hdrColorSpace(std::string_view primaries, std::string_view transfer) {
    if (!isHDR(transfer)) {
        return nullptr;
    }
    static const std::array<Preset, 4> presets = makePresets();
    const auto* found = std::find_if(presets.begin(), presets.end(), [&](const Preset& preset) {
        return preset.primaries == primaries && preset.transfer == transfer;
    });
    return found == presets.end() ? nullptr : found->colorSpace;
}

} // namespace zelvane

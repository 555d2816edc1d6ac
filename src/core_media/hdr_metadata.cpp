// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/hdr_metadata.h"

#include <algorithm>

#include "foundation/log.h"

namespace zelvane {
namespace {

template <class Integer>
void appendBigEndian(std::vector<std::uint8_t>& bytes, Integer value) {
    for (int shift = 8 * (static_cast<int>(sizeof value) - 1); shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<std::uint8_t>(value >> shift));
    }
}

/// In steps of 0.00002.
std::uint16_t codedChromaticity(AVRational value) {
    const double scaled = 50000.0 / value.den * value.num;
    if (!(scaled > -1 && scaled < 65536)) {
        fatalError("A chromaticity of a mastering display is out of range.");
    }
    return static_cast<std::uint16_t>(std::max(scaled, 0.0));
}

/// In steps of 0.0001 candela per square metre.
std::uint32_t codedLuminance(AVRational value) {
    if (value.den <= 0 || value.num <= 0) {
        return 0;
    }
    return static_cast<std::uint32_t>(
        std::min<std::int64_t>(av_rescale(value.num, 10000, value.den), UINT32_MAX));
}

std::uint16_t codedLightLevel(unsigned level) {
    if (level > UINT16_MAX) {
        fatalError("A content light level is out of range.");
    }
    return static_cast<std::uint16_t>(level);
}

} // namespace

std::vector<std::uint8_t>
masteringDisplayColorVolumeSEIMessageData(const AVMasteringDisplayMetadata& metadata) {
    constexpr int kRed = 0;
    constexpr int kGreen = 1;
    constexpr int kBlue = 2;
    std::vector<std::uint8_t> bytes;
    bytes.reserve(24);
    if (metadata.has_primaries != 0) {
        for (const int primary : {kGreen, kBlue, kRed}) {
            appendBigEndian(bytes, codedChromaticity(metadata.display_primaries[primary][0]));
            appendBigEndian(bytes, codedChromaticity(metadata.display_primaries[primary][1]));
        }
        appendBigEndian(bytes, codedChromaticity(metadata.white_point[0]));
        appendBigEndian(bytes, codedChromaticity(metadata.white_point[1]));
    }
    bytes.resize(16);
    if (metadata.has_luminance != 0) {
        appendBigEndian(bytes, codedLuminance(metadata.max_luminance));
        appendBigEndian(bytes, codedLuminance(metadata.min_luminance));
    }
    bytes.resize(24);
    return bytes;
}

std::vector<std::uint8_t>
contentLightLevelInfoSEIMessageData(const AVContentLightMetadata& metadata) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(4);
    appendBigEndian(bytes, codedLightLevel(metadata.MaxCLL));
    appendBigEndian(bytes, codedLightLevel(metadata.MaxFALL));
    return bytes;
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/hdr_metadata.h"

#include <algorithm>

namespace zelvane {
namespace {

template <class Integer>
void appendBigEndian(std::vector<std::uint8_t>& bytes, Integer value) {
    for (int shift = 8 * (static_cast<int>(sizeof value) - 1); shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<std::uint8_t>(value >> shift));
    }
}

/// In steps of 0.00002; none when it does not fit.
std::optional<std::uint16_t> codedChromaticity(AVRational value) {
    const double scaled = 50000.0 / value.den * value.num;
    if (!(scaled > -1 && scaled < 65536)) {
        return std::nullopt;
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

/// In the order of the message: green, blue, red, white. False when one does not fit.
bool appendChromaticities(std::vector<std::uint8_t>& bytes,
                          const AVMasteringDisplayMetadata& metadata) {
    const AVRational* const points[] = {metadata.display_primaries[1],
                                        metadata.display_primaries[2],
                                        metadata.display_primaries[0], metadata.white_point};
    for (const AVRational* point : points) {
        const auto x = codedChromaticity(point[0]);
        const auto y = codedChromaticity(point[1]);
        if (!x || !y) {
            return false;
        }
        appendBigEndian(bytes, *x);
        appendBigEndian(bytes, *y);
    }
    return true;
}

} // namespace

std::optional<std::vector<std::uint8_t>>
masteringDisplayColorVolumeSEIMessageData(const AVMasteringDisplayMetadata& metadata) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(24);
    if (metadata.has_primaries != 0 && !appendChromaticities(bytes, metadata)) {
        return std::nullopt;
    }
    bytes.resize(16);
    if (metadata.has_luminance != 0) {
        appendBigEndian(bytes, codedLuminance(metadata.max_luminance));
        appendBigEndian(bytes, codedLuminance(metadata.min_luminance));
    }
    bytes.resize(24);
    return bytes;
}

std::optional<std::vector<std::uint8_t>>
contentLightLevelInfoSEIMessageData(const AVContentLightMetadata& metadata) {
    if (metadata.MaxCLL > UINT16_MAX || metadata.MaxFALL > UINT16_MAX) {
        return std::nullopt;
    }
    std::vector<std::uint8_t> bytes;
    appendBigEndian(bytes, static_cast<std::uint16_t>(metadata.MaxCLL));
    appendBigEndian(bytes, static_cast<std::uint16_t>(metadata.MaxFALL));
    return bytes;
}

} // namespace zelvane

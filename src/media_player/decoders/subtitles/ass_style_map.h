// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/geometry.h"
#include "media_player/decoders/subtitles/ass_splitter.h"
#include "media_player/decoders/subtitles/subtitle_text_style.h"
#include "media_player/decoders/subtitles/subtitle_text_styling.h"

namespace zelvane {

/// The styles of a script by name, always with "Default".
using ASSStyleMap = std::map<std::string, SubtitleTextStyle, std::less<>>;

inline constexpr std::string_view kDefaultASSStyleName = "Default";

/// Converts 0xAABBGGRR; an alpha byte of 0 is opaque.
SRGBColor colorFromASS(std::uint32_t value);

/// The picture size that a script was authored for. None for 384 × 288, which libavcodec writes
/// into the headers that it makes for other formats.
std::optional<CGSize> originalContainerSize(const ASSScriptInfoRecord& scriptInfo);

/// Makes the styles of a script's records, each passed through `styling`. Throws ASSDecodingError
/// for two styles of one name and for an invalid alignment.
ASSStyleMap makeASSStyleMap(const std::vector<ASSStyleRecord>& records,
                            const std::optional<CGSize>& originalContainerSize,
                            const SubtitleTextStyling& styling);

} // namespace zelvane

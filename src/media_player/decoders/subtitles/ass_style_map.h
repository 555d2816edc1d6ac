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

/// The styles of a script by name; "Default" is always among them.
using ASSStyleMap = std::map<std::string, SubtitleTextStyle, std::less<>>;

inline constexpr std::string_view kDefaultASSStyleName = "Default";

/// The colour of 0xAABBGGRR, where 0 in the top byte is opaque.
SRGBColor colorFromASS(std::uint32_t value);

/// The picture size that a script was authored for. None where it says 384 × 288, which libavcodec
/// writes into the headers that it makes for other formats.
std::optional<CGSize> originalContainerSize(const ASSScriptInfoRecord& scriptInfo);

/// Makes the styles of a script's records, each as `styling` wants it. Throws ASSDecodingError for
/// two styles of one name and for an alignment that is none.
ASSStyleMap makeASSStyleMap(const std::vector<ASSStyleRecord>& records,
                            const std::optional<CGSize>& originalContainerSize,
                            const SubtitleTextStyling& styling);

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/media_source_restoration_parameters.h"

#include <string_view>
#include <utility>

namespace zelvane {
namespace {

constexpr std::string_view kRestorableStateKey = "restorableState";

} // namespace

StateCoder MediaSourceRestorationParameters::encoded() const {
    StateCoder coder;
    bookmark.encode(coder);
    coder.encodeState(kRestorableStateKey, restorableState);
    return coder;
}

std::optional<MediaSourceRestorationParameters>
MediaSourceRestorationParameters::decode(const StateCoder& coder) {
    auto bookmark = FileBookmark::decode(coder);
    if (!bookmark) {
        return std::nullopt;
    }
    return MediaSourceRestorationParameters{
        *std::move(bookmark), coder.decodeState(kRestorableStateKey).value_or(StateCoder())};
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "foundation/file_bookmark.h"
#include "foundation/state_coder.h"

namespace zelvane {

/// What attaches a side file again in a later run. A value.
struct MediaSourceRestorationParameters {
    FileBookmark bookmark;
    /// That of the side file's own source.
    StateCoder restorableState;

    StateCoder encoded() const;
    /// None without the URL of a file.
    static std::optional<MediaSourceRestorationParameters> decode(const StateCoder& coder);
};

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

#include "core_media/cg_color_space.h"

namespace zelvane {

/// The colour space, with an ICC profile of its own, of one of the four combinations of high
/// dynamic range pictures: the primaries of BT.2020 or P3-D65 with the transfer function PQ (SMPTE
/// ST 2084) or HLG (ARIB STD-B67), given by their attachment values. Null for any other
/// combination. Made at first use; later calls return the same object. Any thread.
CGColorSpaceRef hdrColorSpace(std::string_view primaries, std::string_view transfer);

} // namespace zelvane

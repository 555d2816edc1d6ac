// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/restoration_count.h"

#include <algorithm>
#include <string_view>

namespace zelvane {
namespace {

constexpr std::string_view kRestorationCountKey = "zelvane.Session.unfinishedRestorations";
constexpr std::int64_t kMaximumCount = 2;

} // namespace

RestorationCount RestorationCount::decode(const StateCoder& coder) {
    const std::int64_t stored = coder.decodeInteger(kRestorationCountKey).value_or(0);
    return RestorationCount(std::clamp<std::int64_t>(stored, 0, kMaximumCount));
}

void RestorationCount::encode(StateCoder& coder) const {
    if (ended_ > 0) {
        coder.encodeInteger(kRestorationCountKey, ended_);
    }
}

RestorationCount::Turn RestorationCount::turn() const {
    return ended_ == 0 ? Turn::together : ended_ < kMaximumCount ? Turn::alone : Turn::leftOut;
}

} // namespace zelvane

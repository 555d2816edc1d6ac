// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/media_source/stepping_back.h"

#include <algorithm>

namespace zelvane {

void stepBackUntil(const CMTime& target, const CMTime& start,
                   const std::function<bool(const CMTime& from)>& attempt) {
    CMTime step(1, 1);
    CMTime from = target;
    while (!attempt(std::max(from, start)) && from > start) {
        from = target - step;
        step = step + step;
    }
}

} // namespace zelvane

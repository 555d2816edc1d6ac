// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/seek_operation.h"

#include <utility>

#include "foundation/log.h"

namespace zelvane {

SeekOperation foldedSeekOperation(std::optional<SeekOperation> waiting, const CMTime& targetTime,
                                  std::optional<SeekOperation::CompletionHandlerInfo> completion) {
    SeekOperation folded = std::move(waiting).value_or(SeekOperation{});
    folded.targetTime = targetTime;
    if (completion) {
        folded.completionHandlers.push_back(*std::move(completion));
    }
    return folded;
}

CMTime clampedSeekTarget(const CMTime& target, const CMTime& duration) {
    if (target <= kCMTimeZero) {
        return kCMTimeZero;
    }
    return target > duration ? duration : target;
}

CMTime frameStep(std::optional<AVRational> frameRate, std::int64_t count) {
    constexpr AVRational kUnknownFrameRate{24000, 1000};
    const bool isKnown = frameRate && frameRate->num > 0 && frameRate->den > 0;
    const AVRational rate = isKnown ? *frameRate : kUnknownFrameRate;
    std::int64_t value = 0;
    if (__builtin_mul_overflow(std::int64_t{rate.den}, count, &value)) {
        fatalError("The duration of a step of that many frames overflows.");
    }
    return {value, rate.num};
}

} // namespace zelvane

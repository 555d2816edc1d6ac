// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/data_providing.h"

#include <utility>

namespace zelvane {

void NullSubtitlesDataProvider::perform(bool /*cancelling*/, dispatch::Task task) {
    // Not here and now: what is asked for may wait for another queue, which may wait for the
    // caller.
    dispatch::globalQueue(dispatch::QualityOfService::userInitiated)->async(std::move(task));
}

void NullSubtitlesDataProvider::seek(const CMTime& /*time*/, bool /*shouldProvideData*/,
                                     const std::shared_ptr<dispatch::Queue>& completionQueue,
                                     dispatch::Task completion) {
    completionQueue->async(std::move(completion));
}

void NullSubtitlesDataProvider::setSubtitlesTrack(
    const std::shared_ptr<SubtitlesTrack>& /*track*/) {}

} // namespace zelvane

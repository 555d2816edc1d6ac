// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/playback/seek_answer.h"

#include <utility>

#include "media_player/playback/seek_relevance.h"

namespace zelvane {
SeekAnswer::SeekAnswer(const CMTime& target, bool takesLater, Receiver receiver)
    : target_(target), takesLater_(takesLater), receiver_(std::move(receiver)) {}

void SeekAnswer::add(const CMSampleBufferRef& picture) {
    if (state_ == State::tooLate) {
        return;
    }
    const bool isRelevant = isRelevantForSeeking(*picture, target_);
    if (state_ == State::searching && (!isRelevant || mayEndAt(*picture, target_))) {
        before_ = picture;
        return;
    }
    if (!isRelevant) {
        return;
    }
    if (state_ == State::searching && picture->presentationTimeStamp() > target_) {
        if (before_) {
            take(before_);
        } else if (!takesLater_) {
            state_ = State::tooLate;
            return;
        }
    }
    take(picture);
}

void SeekAnswer::finish() {
    if (state_ == State::searching && before_) {
        take(before_);
    }
}

void SeekAnswer::take(const CMSampleBufferRef& picture) {
    state_ = State::found;
    receiver_(picture);
    // A picture may be 25 MB.
    before_ = nullptr;
}

} // namespace zelvane

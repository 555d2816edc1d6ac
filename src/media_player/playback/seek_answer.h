// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include "core_media/cm_sample_buffer.h"

namespace zelvane {

/// Selects the picture of a seek's target among the pictures that are decoded in order, and passes
/// on that one and all later ones. It is the picture that straight playback shows at that time: the
/// one that contains the target or, in a gap, the last one before the gap. Does not depend on a
/// decoder.
///
///     searching --- a picture holds the target, or the gap around it has ended ---> found
///         |
///         +--- the first picture is after the target, and earlier ones exist ---> too late
class SeekAnswer {
  public:
    using Receiver = std::function<void(const CMSampleBufferRef&)>;

    /// With `takesLater` the first picture is accepted even if it is after the target, because
    /// nothing earlier can be decoded.
    SeekAnswer(const CMTime& target, bool takesLater, Receiver receiver);

    /// The next picture. One that ends before it begins stops the process.
    void add(const CMSampleBufferRef& picture);
    /// The stream has ended. The last picture is taken: playback shows it until the clock stops.
    void finish();

    const CMTime& target() const { return target_; }
    bool takesLater() const { return takesLater_; }
    bool isFound() const { return state_ == State::found; }
    /// The decoder has to start earlier: its first picture is after the target.
    bool isTooLate() const { return state_ == State::tooLate; }
    /// Whether any picture was added.
    bool hasSeenPictures() const { return before_ != nullptr || state_ != State::searching; }

  private:
    enum class State { searching, found, tooLate };
    void take(const CMSampleBufferRef& picture);

    CMTime target_;
    bool takesLater_;
    Receiver receiver_;
    State state_ = State::searching;
    /// The last picture that began before the target and may not contain it.
    CMSampleBufferRef before_;
};

} // namespace zelvane

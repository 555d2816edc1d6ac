// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include "core_media/cm_sample_buffer.h"

namespace zelvane {

/// Picks, of the pictures that a seek decodes in order, the one that is seen at its target, and
/// hands on that one and all that follow. Seen is what straight playback would show: the picture
/// that holds the target, or, where none does, the last one before the gap. Knows no decoder.
///
///     searching --- a picture holds the target, or the gap around it has ended ---> found
///         |
///         +--- the first picture of all lies behind the target, and may not ---> too late
class SeekAnswer {
  public:
    using Receiver = std::function<void(const CMSampleBufferRef&)>;

    /// With `takesLater` the first picture of all is taken wherever it lies: nothing earlier can be
    /// decoded.
    SeekAnswer(const CMTime& target, bool takesLater, Receiver receiver);

    /// The next picture. One that ends before it begins stops the process.
    void add(const CMSampleBufferRef& picture);
    /// There are no more. The last picture is taken if nothing says that it has ended.
    void finish();

    const CMTime& target() const { return target_; }
    bool isFound() const { return state_ == State::found; }
    /// The decoder has to start earlier: what it gave cannot be trusted to be the answer.
    bool isTooLate() const { return state_ == State::tooLate; }
    /// Whether any picture came.
    bool hasSeenPictures() const { return before_ != nullptr || state_ != State::searching; }

  private:
    enum class State { searching, found, tooLate };
    void take(const CMSampleBufferRef& picture);

    CMTime target_;
    bool takesLater_;
    Receiver receiver_;
    State state_ = State::searching;
    /// The last that began before the target and does not hold it.
    CMSampleBufferRef before_;
};

} // namespace zelvane

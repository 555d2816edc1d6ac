// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "player_window/controls/scrubber_layout.h"

namespace zelvane {

/// What a gesture did to a scrubber.
struct ScrubberOutcome {
    bool didBeginTracking = false;
    bool didChangeValue = false;
    bool didEndTracking = false;
    friend bool operator==(const ScrubberOutcome&, const ScrubberOutcome&) = default;
};

/// One movement of a wheel or of fingers on a touchpad.
struct ScrubberScroll {
    /// Points; positive moves the knob to the right. Only horizontal scrolling counts.
    double delta = 0;
    /// A wheel has neither: it changes the value without a gesture around it.
    bool begins = false;
    bool ends = false;
};

/// The value of a scrubber within its range, and how gestures change it. Coordinates are points of
/// the widget; each call takes the layout of that moment.
class ScrubberModel {
  public:
    double minValue = 0;
    double maxValue = 1;
    /// The value of one point of scrolling, where a point of the bar is more.
    std::optional<double> scrollingValueAmount;

    double value() const { return value_; }
    /// Without limits and without an outcome: it is not a gesture.
    void setValue(double value) { value_ = value; }
    /// The value as a share of the range, 0…1; 0 for an empty range.
    double fraction() const;
    /// The value at a position, 0 at the left end of the knob's path.
    double valueAt(double x, const ScrubberLayout& layout) const;
    bool isTracking() const { return isTracking_; }

    /// A press beside the knob moves it under the pointer, a press on it does not.
    ScrubberOutcome press(double x, double y, const ScrubberLayout& layout);
    /// The knob keeps its distance from the pointer, and rests while the pointer is beyond an end.
    ScrubberOutcome drag(double x, const ScrubberLayout& layout);
    ScrubberOutcome release();
    ScrubberOutcome scroll(const ScrubberScroll& scroll, const ScrubberLayout& layout);
    /// By a share of the range, for keys.
    ScrubberOutcome step(double share);
    /// To a value within the range, for assistive technology.
    ScrubberOutcome change(double value);

  private:
    double range() const;
    double valueOf(double fraction) const;
    bool setValueByGesture(double value);

    double value_ = 0;
    double previousX_ = 0;
    bool isTracking_ = false;
};

} // namespace zelvane

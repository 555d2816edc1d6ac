// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/controls/controls_layout.h"

#include <algorithm>

#include "player_window/controls/scrubber_layout.h"

namespace zelvane {
namespace {

constexpr double kButtonSide = 30;
/// From the edge of the bar to a button, whose symbol is 5 points further in.
constexpr double kButtonMargin = 13;
constexpr double kButtonGap = 6;
constexpr double kPlayButtonSide = 38;
/// From the centre of the play button to that of a jump button.
constexpr double kJumpDistance = 52;
constexpr double kVolumeSliderWidth = 82;
constexpr double kVolumeSliderHeight = 20;
/// The least distance between the groups of the upper row.
constexpr double kGroupGap = 24;
constexpr double kUpperRow = 32;
constexpr double kLowerRow = 69;
constexpr double kLabelMargin = 20;
constexpr double kLabelHeight = 20;
constexpr double kLabelGap = 16;

/// Which of the controls that a narrow bar drops are there.
struct Shown {
    bool volumeSlider = true;
    bool jumpButtons = true;
    bool fullScreenButton = true;
};

CGRect centred(double x, double y, double width, double height) {
    return {x - width / 2, y - height / 2, width, height};
}

CGRect button(double left) {
    return {left, kUpperRow - kButtonSide / 2, kButtonSide, kButtonSide};
}

double leftGroupWidth(const Shown& shown) {
    return kButtonMargin + kButtonSide + (shown.volumeSlider ? kVolumeSliderWidth : 0);
}

double rightGroupWidth(const ControlsContent& content, const Shown& shown) {
    const int count = int{content.hasTracksButton} + int{content.hasPictureInPictureButton} +
                      int{content.hasRouteButton} +
                      int{content.hasFullScreenButton && shown.fullScreenButton};
    return kButtonMargin + count * kButtonSide + std::max(count - 1, 0) * kButtonGap;
}

double transportWidth(const Shown& shown) {
    return shown.jumpButtons ? 2 * kJumpDistance + kButtonSide : kPlayButtonSide;
}

bool fits(double width, const ControlsContent& content, const Shown& shown) {
    const double side = std::max(leftGroupWidth(shown), rightGroupWidth(content, shown));
    return 2 * (side + kGroupGap) + transportWidth(shown) <= width;
}

Shown shownIn(double width, const ControlsContent& content) {
    Shown shown;
    for (bool* droppable : {&shown.volumeSlider, &shown.jumpButtons, &shown.fullScreenButton}) {
        if (!fits(width, content, shown)) {
            *droppable = false;
        }
    }
    return shown;
}

void layOutTransport(double width, const Shown& shown, ControlsLayout& layout) {
    const double middle = width / 2;
    layout.playPauseButton = centred(middle, kUpperRow, kPlayButtonSide, kPlayButtonSide);
    if (shown.jumpButtons) {
        layout.jumpBackButton = button(middle - kJumpDistance - kButtonSide / 2);
        layout.jumpForwardButton = button(middle + kJumpDistance - kButtonSide / 2);
    }
}

void layOutButtons(double width, const ControlsContent& content, const Shown& shown,
                   ControlsLayout& layout) {
    double right = width - kButtonMargin;
    const auto place = [&right](bool isThere, std::optional<CGRect>& rect) {
        if (isThere) {
            rect = button(right - kButtonSide);
            right -= kButtonSide + kButtonGap;
        }
    };
    place(content.hasFullScreenButton && shown.fullScreenButton, layout.fullScreenButton);
    place(content.hasRouteButton, layout.routeButton);
    place(content.hasPictureInPictureButton, layout.pictureInPictureButton);
    place(content.hasTracksButton, layout.tracksButton);
}

void layOutTimes(double width, const ControlsContent& content, ControlsLayout& layout) {
    const double y = kLowerRow - kLabelHeight / 2;
    layout.currentTimeLabel = {kLabelMargin, y, content.currentTimeWidth, kLabelHeight};
    layout.endTimeLabel = {width - kLabelMargin - content.endTimeWidth, y, content.endTimeWidth,
                           kLabelHeight};
    const double left = kLabelMargin + content.currentTimeWidth + kLabelGap;
    const double right = layout.endTimeLabel.x - kLabelGap;
    layout.scrubber = {left, kLowerRow - ScrubberMetrics::kHeight / 2, std::max(right - left, 0.0),
                       ScrubberMetrics::kHeight};
}

} // namespace

ControlsLayout layOutControls(double width, const ControlsContent& content) {
    const Shown shown = shownIn(width, content);
    ControlsLayout layout;
    layout.volumeButton = button(kButtonMargin);
    if (shown.volumeSlider) {
        layout.volumeSlider =
            CGRect{kButtonMargin + kButtonSide, kUpperRow - kVolumeSliderHeight / 2,
                   kVolumeSliderWidth, kVolumeSliderHeight};
    }
    layOutTransport(width, shown, layout);
    layOutButtons(width, content, shown, layout);
    layOutTimes(width, content, layout);
    return layout;
}

} // namespace zelvane

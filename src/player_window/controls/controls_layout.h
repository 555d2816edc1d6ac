// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "foundation/geometry.h"

namespace zelvane {

/// Which controls a player has, whatever the width.
struct ControlsContent {
    bool hasTracksButton = true;
    bool hasPictureInPictureButton = false;
    bool hasRouteButton = false;
    /// An audio window has none.
    bool hasFullScreenButton = true;
    /// Of the widest text that each label may show.
    double currentTimeWidth = 0;
    double endTimeWidth = 0;
};

/// The parts of the bar of controls, in points with y downward. A control that is not there, or for
/// which the bar is too narrow, has no rectangle. Buttons are larger than their symbols.
struct ControlsLayout {
    CGRect volumeButton;
    std::optional<CGRect> volumeSlider;
    std::optional<CGRect> jumpBackButton;
    CGRect playPauseButton;
    std::optional<CGRect> jumpForwardButton;
    std::optional<CGRect> tracksButton;
    std::optional<CGRect> pictureInPictureButton;
    std::optional<CGRect> routeButton;
    std::optional<CGRect> fullScreenButton;
    CGRect currentTimeLabel;
    CGRect scrubber;
    CGRect endTimeLabel;
};

/// Measures of the bar, in points.
struct ControlsMetrics {
    static constexpr double kHeight = 92;
    static constexpr double kMinimumWidth = 377;
    static constexpr double kMaximumWidth = 611;
};

/// Two rows: volume, transport and the group of buttons; time, scrubber and time. A narrow bar
/// drops the volume slider, then the jump buttons, then the full-screen button.
ControlsLayout layOutControls(double width, const ControlsContent& content);

} // namespace zelvane

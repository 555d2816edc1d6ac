// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

struct CGSize {
    double width = 0;
    double height = 0;
    friend bool operator==(const CGSize&, const CGSize&) = default;
};

struct CGRect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
    friend bool operator==(const CGRect&, const CGRect&) = default;
};

struct NSEdgeInsets {
    double top = 0;
    double left = 0;
    double bottom = 0;
    double right = 0;
    friend bool operator==(const NSEdgeInsets&, const NSEdgeInsets&) = default;
};

/// x' = a x + c y + tx, y' = b x + d y + ty.
struct CGAffineTransform {
    double a = 1;
    double b = 0;
    double c = 0;
    double d = 1;
    double tx = 0;
    double ty = 0;
    friend bool operator==(const CGAffineTransform&, const CGAffineTransform&) = default;
};

inline constexpr CGAffineTransform kCGAffineTransformIdentity{};

/// The bounding box of the transformed rectangle.
CGRect applyAffineTransform(const CGRect& rect, const CGAffineTransform& transform);

} // namespace zelvane

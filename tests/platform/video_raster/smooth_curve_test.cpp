// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/video_raster/smooth_curve.h"

#include <cmath>

#include <gtest/gtest.h>

#include "tests/platform/reference.h"

namespace zelvane::raster {
namespace {

double worstError(const kernels::Curve& curve, const std::function<double(double)>& light) {
    double worst = 0;
    for (int i = 0; i <= 65536; ++i) {
        const double code = i / 65536.0;
        const double error = kernels::lightOf(curve, static_cast<float>(code)) - light(code);
        worst = std::max(worst, std::abs(error));
    }
    return worst;
}

TEST(SmoothCurve, approximatesTheCurvesOfScreens) {
    const std::function<double(double)> curves[] = {
        test::screen1886, test::decodeSRGB, [](double code) { return std::pow(code, 2.2); },
        [](double code) { return std::pow(code, 2.8); }, [](double code) { return code; }};
    for (const auto& light : curves) {
        const auto curve = smoothCurve(light);
        ASSERT_TRUE(curve);
        EXPECT_LE(worstError(*curve, light), 1.1 * kSmoothCurveError);
    }
}

TEST(SmoothCurve, approximatesInversePowersInTheFourthRootOfLight) {
    for (const double gamma : {1.8, 2.2, 2.4}) {
        const auto code = [gamma](double root) { return std::pow(root, 4 / gamma); };
        const auto curve = smoothRootCurve(code);
        ASSERT_TRUE(curve) << gamma;
        for (int i = 0; i <= 65536; ++i) {
            const double root = i / 65536.0;
            EXPECT_NEAR(kernels::codeOf(*curve, static_cast<float>(root)), 255 * code(root), 0.15);
        }
    }
    EXPECT_FALSE(smoothRootCurve([](double root) { return root < 0.5 ? 0 : 1; }));
}

TEST(SmoothCurve, refusesCurvesWithAKneeOrWithoutALimit) {
    EXPECT_FALSE(smoothCurve(test::hlgScene));
    EXPECT_FALSE(
        smoothCurve([](double code) { return test::toneMapped(test::pqLight(code), 1000); }));
    EXPECT_FALSE(smoothCurve([](double code) { return code > 0.5 ? NAN : code; }));
}

} // namespace
} // namespace zelvane::raster

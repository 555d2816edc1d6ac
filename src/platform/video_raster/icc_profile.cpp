// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/video_raster/icc_profile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include <lcms2.h>

#include "foundation/release.h"

namespace zelvane::raster {
namespace {

using Profile = std::unique_ptr<void, Release<cmsCloseProfile>>;
using Transform = std::unique_ptr<void, Release<cmsDeleteTransform>>;

/// One context for all profiles, which logs nothing: read() returns null for a broken profile.
cmsContext silentContext() {
    static const std::unique_ptr<std::remove_pointer_t<cmsContext>, Release<cmsDeleteContext>>
        context = [] {
            auto* made = cmsCreateContext(nullptr, nullptr);
            cmsSetLogErrorHandlerTHR(made, [](cmsContext, cmsUInt32Number, const char*) {});
            return decltype(context)(made);
        }();
    return context.get();
}

Transform makeTransform(cmsHPROFILE from, cmsUInt32Number fromType, cmsHPROFILE to,
                        cmsUInt32Number toType) {
    return Transform(cmsCreateTransformTHR(silentContext(), from, fromType, to, toType,
                                           INTENT_RELATIVE_COLORIMETRIC,
                                           cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE));
}

/// The colorants of a broken profile may be collinear.
bool hasInverse(const Matrix3& matrix) {
    const auto inverted = inverse(matrix);
    constexpr double kLargest = 1000;
    return std::all_of(inverted.begin(), inverted.end(), [&](const Vector3& row) {
        return std::all_of(row.begin(), row.end(),
                           [&](double value) { return std::abs(value) < kLargest; });
    });
}

constexpr std::array kCurveTags{cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};
constexpr std::array kColorantTags{cmsSigRedColorantTag, cmsSigGreenColorantTag,
                                   cmsSigBlueColorantTag};

} // namespace

struct IccProfile::Parts {
    Profile profile;
    Transform toXYZ;
    Transform fromXYZ;
    /// Null unless the profile is a shaper; the profile owns them.
    std::array<const cmsToneCurve*, 3> curves{};
    Matrix3 matrix{};

    void readShaper();
};

/// Where a profile also has tables, they are more exact.
void IccProfile::Parts::readShaper() {
    if (!cmsIsMatrixShaper(profile.get()) || cmsIsTag(profile.get(), cmsSigAToB0Tag) ||
        cmsIsTag(profile.get(), cmsSigBToA0Tag)) {
        return;
    }
    std::array<const cmsToneCurve*, 3> found{};
    for (std::size_t i = 0; i < 3; ++i) {
        found[i] = static_cast<const cmsToneCurve*>(cmsReadTag(profile.get(), kCurveTags[i]));
        const auto* color =
            static_cast<const cmsCIEXYZ*>(cmsReadTag(profile.get(), kColorantTags[i]));
        if (found[i] == nullptr || color == nullptr || !cmsIsToneCurveMonotonic(found[i]) ||
            cmsIsToneCurveDescending(found[i])) {
            return;
        }
        matrix[0][i] = color->X;
        matrix[1][i] = color->Y;
        matrix[2][i] = color->Z;
    }
    if (hasInverse(matrix)) {
        curves = found;
    }
}

std::shared_ptr<const IccProfile> IccProfile::read(std::span<const std::uint8_t> bytes) {
    constexpr std::size_t kLargest = std::size_t{64} << 20;
    if (bytes.empty() || bytes.size() > kLargest) {
        return nullptr;
    }
    auto parts = std::make_unique<Parts>();
    parts->profile.reset(cmsOpenProfileFromMemTHR(silentContext(), bytes.data(),
                                                  static_cast<cmsUInt32Number>(bytes.size())));
    if (parts->profile == nullptr || cmsGetColorSpace(parts->profile.get()) != cmsSigRgbData) {
        return nullptr;
    }
    const Profile xyz(cmsCreateXYZProfileTHR(silentContext()));
    parts->toXYZ = makeTransform(parts->profile.get(), TYPE_RGB_DBL, xyz.get(), TYPE_XYZ_DBL);
    parts->fromXYZ = makeTransform(xyz.get(), TYPE_XYZ_DBL, parts->profile.get(), TYPE_RGB_DBL);
    if (parts->toXYZ == nullptr || parts->fromXYZ == nullptr) {
        return nullptr;
    }
    parts->readShaper();
    return std::shared_ptr<const IccProfile>(new IccProfile(std::move(parts)));
}

IccProfile::IccProfile(std::unique_ptr<Parts> parts) : parts_(std::move(parts)) {}

IccProfile::~IccProfile() = default;

Vector3 IccProfile::toXYZ(const Vector3& codes) const {
    Vector3 xyz{};
    cmsDoTransform(parts_->toXYZ.get(), codes.data(), xyz.data(), 1);
    return xyz;
}

Vector3 IccProfile::fromXYZ(const Vector3& xyz) const {
    Vector3 codes{};
    cmsDoTransform(parts_->fromXYZ.get(), xyz.data(), codes.data(), 1);
    return codes;
}

bool IccProfile::isShaper() const {
    return parts_->curves[0] != nullptr;
}

const Matrix3& IccProfile::matrixToXYZ() const {
    return parts_->matrix;
}

double IccProfile::channelToLight(std::size_t channel, double code) const {
    return cmsEvalToneCurveFloat(parts_->curves[channel], static_cast<float>(code));
}

bool IccProfile::hasOneCurve() const {
    constexpr int kSteps = 255;
    for (int i = 0; i <= kSteps; ++i) {
        const double code = static_cast<double>(i) / kSteps;
        const double red = channelToLight(0, code);
        if (channelToLight(1, code) != red || channelToLight(2, code) != red) {
            return false;
        }
    }
    return true;
}

/// By bisection: curves are defined in one direction only, and tables of their inverse are coarse.
double IccProfile::channelFromLight(std::size_t channel, double light) const {
    double low = 0;
    double high = 1;
    constexpr int kHalvings = 24;
    for (int i = 0; i < kHalvings; ++i) {
        const double middle = (low + high) / 2;
        (channelToLight(channel, middle) < light ? low : high) = middle;
    }
    return (low + high) / 2;
}

} // namespace zelvane::raster

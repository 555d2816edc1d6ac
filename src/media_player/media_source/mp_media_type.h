// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

/// The kind of work that a medium is, in the values of media libraries and remote controls: a set
/// of bits.
class MPMediaType {
  public:
    enum Bit : unsigned {
        music = 1U << 0,
        podcast = 1U << 1,
        audioBook = 1U << 2,
        audioITunesU = 1U << 3,
        anyAudio = 0xff,
        movie = 1U << 8,
        tvShow = 1U << 9,
        videoPodcast = 1U << 10,
        musicVideo = 1U << 11,
        videoITunesU = 1U << 12,
        homeVideo = 1U << 13,
        anyVideo = 0xff00,
    };

    constexpr MPMediaType() = default;
    constexpr MPMediaType(Bit bit) : rawValue_(bit) {} // NOLINT(google-explicit-constructor)
    constexpr explicit MPMediaType(unsigned rawValue) : rawValue_(rawValue) {}

    constexpr unsigned rawValue() const { return rawValue_; }
    friend constexpr bool operator==(MPMediaType, MPMediaType) = default;

  private:
    unsigned rawValue_ = 0;
};

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <initializer_list>

namespace zelvane {

/// The accessibility characteristics of a track: a set of bits.
class MediaCharacteristics {
  public:
    enum Bit : std::uint64_t {
        describesVideoForAccessibility = 0x100000,
        transcribesSpokenDialogForAccessibility = 0x40000000,
        describesMusicAndSoundForAccessibility = 0x80000000,
    };

    constexpr MediaCharacteristics() = default;
    constexpr explicit MediaCharacteristics(std::uint64_t rawValue) : rawValue_(rawValue) {}
    constexpr MediaCharacteristics(std::initializer_list<Bit> bits) {
        for (const Bit bit : bits) {
            rawValue_ |= bit;
        }
    }

    constexpr std::uint64_t rawValue() const { return rawValue_; }
    constexpr bool isEmpty() const { return rawValue_ == 0; }
    constexpr bool contains(MediaCharacteristics other) const {
        return (rawValue_ & other.rawValue_) == other.rawValue_;
    }
    constexpr bool intersects(MediaCharacteristics other) const {
        return (rawValue_ & other.rawValue_) != 0;
    }
    constexpr void insert(Bit bit) { rawValue_ |= bit; }
    friend constexpr bool operator==(MediaCharacteristics, MediaCharacteristics) = default;

  private:
    std::uint64_t rawValue_ = 0;
};

/// Derived from AVStream.disposition.
MediaCharacteristics mediaCharacteristicsFromDisposition(int disposition);

} // namespace zelvane

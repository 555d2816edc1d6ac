// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace zelvane {

/// The meaning of a picture's colour values: an ICC profile, or coded primaries, transfer and
/// matrix under the names of buffer attachments. Immutable; shared between threads.
class CGColorSpace {
  public:
    /// The space of an ICC profile; null unless the bytes are a usable RGB, grey or YCbCr profile.
    static std::shared_ptr<const CGColorSpace>
    createWithICCData(std::span<const std::uint8_t> profile);
    /// The space of coded values. Null when primaries or transfer are not known attachment values.
    /// `gamma` belongs to the "UseGamma" transfer.
    static std::shared_ptr<const CGColorSpace> createWithCodedValues(std::string primaries,
                                                                     std::string transfer,
                                                                     std::string matrix,
                                                                     std::optional<double> gamma);

    const std::vector<std::uint8_t>& iccData() const { return iccData_; }
    const std::string& primaries() const { return primaries_; }
    const std::string& transfer() const { return transfer_; }
    const std::string& matrix() const { return matrix_; }
    std::optional<double> gamma() const { return gamma_; }
    /// The profile's description, or "primaries; transfer; matrix".
    const std::string& name() const { return name_; }

  private:
    CGColorSpace() = default;

    std::vector<std::uint8_t> iccData_;
    std::string primaries_;
    std::string transfer_;
    std::string matrix_;
    std::optional<double> gamma_;
    std::string name_;
};

using CGColorSpaceRef = std::shared_ptr<const CGColorSpace>;

} // namespace zelvane

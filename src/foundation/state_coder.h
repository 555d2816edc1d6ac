// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "foundation/cm_time.h"

namespace zelvane {

/// Values by key that outlive the process: what an object writes before the end of one run, and
/// reads in the next. One thread at a time.
class StateCoder {
  public:
    virtual ~StateCoder() = default;

    // Each replaces an earlier value of the key.
    virtual void encodeString(std::string_view key, const std::string& text) = 0;
    virtual void encodeTime(std::string_view key, const CMTime& time) = 0;
    virtual void encodeFloat(std::string_view key, float number) = 0;

    // None for an absent key and for a value of another type.
    virtual std::optional<std::string> decodeString(std::string_view key) const = 0;
    virtual std::optional<CMTime> decodeTime(std::string_view key) const = 0;
    virtual std::optional<float> decodeFloat(std::string_view key) const = 0;
};

} // namespace zelvane

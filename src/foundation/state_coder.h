// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "foundation/cm_time.h"

namespace zelvane {

/// Values by key that outlive the process: what an object writes before the end of one run, and
/// reads in the next. The byte form is one JSON object. A value.
class StateCoder {
  public:
    StateCoder();
    StateCoder(const StateCoder& other);
    StateCoder(StateCoder&& other) noexcept;
    StateCoder& operator=(StateCoder other) noexcept;
    ~StateCoder();

    // Each replaces an earlier value of the key.
    void encodeString(std::string_view key, const std::string& text);
    void encodeBool(std::string_view key, bool value);
    void encodeInteger(std::string_view key, std::int64_t number);
    void encodeFloat(std::string_view key, float number);
    void encodeTime(std::string_view key, const CMTime& time);
    void encodeState(std::string_view key, const StateCoder& state);
    void encodeStates(std::string_view key, const std::vector<StateCoder>& states);

    // None for an absent key and for a value of another type.
    std::optional<std::string> decodeString(std::string_view key) const;
    std::optional<bool> decodeBool(std::string_view key) const;
    std::optional<std::int64_t> decodeInteger(std::string_view key) const;
    /// Only finite numbers.
    std::optional<float> decodeFloat(std::string_view key) const;
    /// Only numeric times.
    std::optional<CMTime> decodeTime(std::string_view key) const;
    std::optional<StateCoder> decodeState(std::string_view key) const;
    /// The first `maximum` entries that are states.
    std::vector<StateCoder> decodeStates(std::string_view key, std::size_t maximum) const;

    /// Equal states have equal data. Text that is not UTF-8 is replaced.
    std::string data() const;
    struct Recovered;
    /// Reads data from outside. When it is damaged or ends early, the values before that place are
    /// read, and of a list its whole entries. Never fails.
    static Recovered fromData(std::string_view data);

  private:
    explicit StateCoder(nlohmann::json values);
    const nlohmann::json* find(std::string_view key) const;
    void set(std::string_view key, nlohmann::json value);

    /// Never null, except after a move.
    std::unique_ptr<nlohmann::json> values_;
};

struct StateCoder::Recovered {
    StateCoder state;
    /// Whether the data was an object that could be read as a whole.
    bool isComplete;
};

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/state_coder.h"

#include <cmath>
#include <limits>
#include <utility>

#include <nlohmann/json.hpp>

namespace zelvane {
namespace {

using nlohmann::json;

/// Deeper data could overflow the stack, since JSON values are copied and written recursively.
constexpr int kMaximumDepth = 32;
constexpr const char* kValueKey = "value";
constexpr const char* kTimescaleKey = "timescale";

/// Keeps a copy of each whole value of the outermost object while this is parsed.
class ValueCollector {
  public:
    /// A callback of the parser. Returns whether to go on with the value.
    bool collect(int depth, json::parse_event_t event, const json& parsed) {
        isTooDeep_ = isTooDeep_ || depth > kMaximumDepth;
        if (depth == 1) {
            collectValue(event, parsed);
        } else if (depth == 2 && isInList_ && isEnd(event)) {
            values_[key_].push_back(parsed);
        }
        return !isTooDeep_;
    }
    bool isTooDeep() const { return isTooDeep_; }
    json takeValues() { return std::move(values_); }

  private:
    static bool isEnd(json::parse_event_t event) {
        return event == json::parse_event_t::value || event == json::parse_event_t::object_end ||
               event == json::parse_event_t::array_end;
    }
    void collectValue(json::parse_event_t event, const json& parsed) {
        if (event == json::parse_event_t::key) {
            key_ = parsed.get<std::string>();
        } else if (event == json::parse_event_t::array_start) {
            values_[key_] = json::array();
            isInList_ = true;
        } else if (event == json::parse_event_t::array_end) {
            isInList_ = false;
        } else if (isEnd(event)) {
            values_[key_] = parsed;
        }
    }

    json values_ = json::object();
    std::string key_;
    bool isInList_ = false;
    bool isTooDeep_ = false;
};

std::optional<std::int64_t> integerOf(const json& value) {
    const bool fits =
        !value.is_number_unsigned() ||
        value.get<std::uint64_t>() <= std::uint64_t{std::numeric_limits<std::int64_t>::max()};
    return value.is_number_integer() && fits ? std::optional(value.get<std::int64_t>())
                                             : std::nullopt;
}

} // namespace

StateCoder::StateCoder() : StateCoder(json::object()) {}
StateCoder::StateCoder(json values) : values_(std::make_unique<json>(std::move(values))) {}
StateCoder::StateCoder(const StateCoder& other) : StateCoder(*other.values_) {}
StateCoder::StateCoder(StateCoder&& other) noexcept = default;
StateCoder::~StateCoder() = default;

StateCoder& StateCoder::operator=(StateCoder other) noexcept {
    values_ = std::move(other.values_);
    return *this;
}

const json* StateCoder::find(std::string_view key) const {
    const auto found = values_->find(key);
    return found == values_->end() ? nullptr : &*found;
}

void StateCoder::set(std::string_view key, json value) {
    (*values_)[std::string(key)] = std::move(value);
}

void StateCoder::encodeString(std::string_view key, const std::string& text) {
    set(key, text);
}

void StateCoder::encodeBool(std::string_view key, bool value) {
    set(key, value);
}

void StateCoder::encodeInteger(std::string_view key, std::int64_t number) {
    set(key, number);
}

void StateCoder::encodeFloat(std::string_view key, float number) {
    set(key, number);
}

void StateCoder::encodeTime(std::string_view key, const CMTime& time) {
    set(key, time.isNumeric() ? json{{kValueKey, time.value()}, {kTimescaleKey, time.timescale()}}
                              : json());
}

void StateCoder::encodeState(std::string_view key, const StateCoder& state) {
    set(key, *state.values_);
}

void StateCoder::encodeStates(std::string_view key, const std::vector<StateCoder>& states) {
    json list = json::array();
    for (const auto& state : states) {
        list.push_back(*state.values_);
    }
    set(key, std::move(list));
}

std::optional<std::string> StateCoder::decodeString(std::string_view key) const {
    const json* value = find(key);
    return value != nullptr && value->is_string() ? std::optional(value->get<std::string>())
                                                  : std::nullopt;
}

std::optional<bool> StateCoder::decodeBool(std::string_view key) const {
    const json* value = find(key);
    return value != nullptr && value->is_boolean() ? std::optional(value->get<bool>())
                                                   : std::nullopt;
}

std::optional<std::int64_t> StateCoder::decodeInteger(std::string_view key) const {
    const json* value = find(key);
    return value == nullptr ? std::nullopt : integerOf(*value);
}

std::optional<float> StateCoder::decodeFloat(std::string_view key) const {
    const json* value = find(key);
    const double number = value != nullptr && value->is_number() ? value->get<double>() : NAN;
    const bool fits = std::abs(number) <= double{std::numeric_limits<float>::max()};
    return fits ? std::optional(static_cast<float>(number)) : std::nullopt;
}

std::optional<CMTime> StateCoder::decodeTime(std::string_view key) const {
    const auto state = decodeState(key);
    const auto value = state ? state->decodeInteger(kValueKey) : std::nullopt;
    const auto timescale = state ? state->decodeInteger(kTimescaleKey) : std::nullopt;
    if (!value || !timescale || *timescale < 1 || *timescale > CMTime::kMaxTimescale) {
        return std::nullopt;
    }
    return CMTime(*value, static_cast<std::int32_t>(*timescale));
}

std::optional<StateCoder> StateCoder::decodeState(std::string_view key) const {
    const json* value = find(key);
    return value != nullptr && value->is_object() ? std::optional(StateCoder(*value))
                                                  : std::nullopt;
}

std::vector<StateCoder> StateCoder::decodeStates(std::string_view key, std::size_t maximum) const {
    std::vector<StateCoder> states;
    const json* list = find(key);
    if (list == nullptr || !list->is_array()) {
        return states;
    }
    for (const json& entry : *list) {
        if (entry.is_object() && states.size() < maximum) {
            states.push_back(StateCoder(entry));
        }
    }
    return states;
}

std::string StateCoder::data() const {
    return values_->dump(-1, ' ', false, json::error_handler_t::replace);
}

StateCoder::Recovered StateCoder::fromData(std::string_view data) {
    ValueCollector collector;
    const auto collect = [&collector](int depth, json::parse_event_t event, const json& parsed) {
        return collector.collect(depth, event, parsed);
    };
    json whole = json::parse(data.begin(), data.end(), collect, false);
    const bool isComplete = whole.is_object() && !collector.isTooDeep();
    return {StateCoder(isComplete ? std::move(whole) : collector.takeValues()), isComplete};
}

} // namespace zelvane

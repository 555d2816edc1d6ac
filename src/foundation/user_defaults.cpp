// SPDX-License-Identifier: GPL-3.0-or-later
#include "foundation/user_defaults.h"

#include <charconv>
#include <cmath>
#include <system_error>

#include <fmt/format.h>

#include "foundation/notification_center.h"

namespace zelvane {
namespace {

class MemoryStore final : public UserDefaultsStore {
  public:
    std::optional<DefaultsValue> read(std::string_view key) const override {
        const auto found = values_.find(key);
        return found == values_.end() ? std::nullopt : std::optional(found->second);
    }
    void write(std::string_view key, const std::optional<DefaultsValue>& value) override {
        if (value) {
            values_.insert_or_assign(std::string(key), *value);
        } else if (const auto found = values_.find(key); found != values_.end()) {
            values_.erase(found);
        }
    }

  private:
    std::map<std::string, DefaultsValue, std::less<>> values_;
};

std::unique_ptr<UserDefaultsStore> orMemory(std::unique_ptr<UserDefaultsStore> store) {
    return store != nullptr ? std::move(store) : std::make_unique<MemoryStore>();
}

/// Converts a value to a number; of a text, the number that it begins with.
struct AsNumber {
    double operator()(bool value) const { return value ? 1 : 0; }
    double operator()(std::int64_t value) const { return static_cast<double>(value); }
    double operator()(double value) const { return value; }
    double operator()(const std::string& text) const {
        if (text == "true" || text == "YES" || text == "yes") {
            return 1;
        }
        double number = 0;
        std::from_chars(text.data(), text.data() + text.size(), number);
        return number;
    }
    double operator()(const std::vector<std::string>&) const { return 0; }
};

/// The exact integer of a value that is one, also where it is written as text.
std::optional<std::int64_t> integerIn(const DefaultsValue& value) {
    if (const auto* integer = std::get_if<std::int64_t>(&value)) {
        return *integer;
    }
    if (const auto* text = std::get_if<std::string>(&value)) {
        std::int64_t integer = 0;
        const char* const end = text->data() + text->size();
        const auto result = std::from_chars(text->data(), end, integer);
        return result.ec == std::errc() && result.ptr == end ? std::optional(integer)
                                                             : std::nullopt;
    }
    return std::nullopt;
}

} // namespace

UserDefaults::UserDefaults(std::unique_ptr<UserDefaultsStore> store)
    : store_(orMemory(std::move(store))) {}

UserDefaults& UserDefaults::shared() {
    static UserDefaults& defaults = *std::make_unique<UserDefaults>().release();
    return defaults;
}

void UserDefaults::setStore(std::unique_ptr<UserDefaultsStore> store) {
    const std::lock_guard lock(mutex_);
    store_ = orMemory(std::move(store));
}

void UserDefaults::registerDefaults(std::map<std::string, DefaultsValue, std::less<>> defaults) {
    const std::lock_guard lock(mutex_);
    defaults.merge(registered_);
    registered_ = std::move(defaults);
}

void UserDefaults::set(std::string_view key, const std::optional<DefaultsValue>& value) {
    {
        const std::lock_guard lock(mutex_);
        store_->write(key, value);
    }
    storeDidChange();
}

void UserDefaults::storeDidChange() const {
    NotificationCenter::shared().post({std::string(kDidChangeNotification), this, {}});
}

std::optional<DefaultsValue> UserDefaults::value(std::string_view key) const {
    const std::lock_guard lock(mutex_);
    if (auto stored = store_->read(key)) {
        return stored;
    }
    const auto found = registered_.find(key);
    return found == registered_.end() ? std::nullopt : std::optional(found->second);
}

bool UserDefaults::boolForKey(std::string_view key) const {
    return doubleForKey(key) != 0;
}

std::int64_t UserDefaults::integerForKey(std::string_view key) const {
    const auto found = value(key);
    if (const auto integer = found ? integerIn(*found) : std::nullopt) {
        return *integer;
    }
    const double number = doubleForKey(key);
    constexpr double kLimit = 9.2e18;
    return std::abs(number) < kLimit ? static_cast<std::int64_t>(number) : 0;
}

double UserDefaults::doubleForKey(std::string_view key) const {
    const auto found = value(key);
    return found ? std::visit(AsNumber{}, *found) : 0;
}

std::string UserDefaults::stringForKey(std::string_view key) const {
    const auto found = value(key);
    if (found && std::holds_alternative<std::string>(*found)) {
        return std::get<std::string>(*found);
    }
    // A file of settings separates the entries of a list by commas, and so reads a text with one.
    return fmt::format("{}", fmt::join(stringsForKey(key), ", "));
}

std::vector<std::string> UserDefaults::stringsForKey(std::string_view key) const {
    const auto found = value(key);
    if (found && std::holds_alternative<std::vector<std::string>>(*found)) {
        return std::get<std::vector<std::string>>(*found);
    }
    // A file of settings cannot tell a list of one entry from a text, nor an empty list from none.
    if (found && std::holds_alternative<std::string>(*found) &&
        !std::get<std::string>(*found).empty()) {
        return {std::get<std::string>(*found)};
    }
    return {};
}

} // namespace zelvane

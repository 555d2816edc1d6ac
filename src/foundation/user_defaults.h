// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace zelvane {

using DefaultsValue =
    std::variant<bool, std::int64_t, double, std::string, std::vector<std::string>>;

/// Storage of settings: a file in the application, memory in tests. Any thread.
class UserDefaultsStore {
  public:
    virtual ~UserDefaultsStore() = default;
    virtual std::optional<DefaultsValue> read(std::string_view key) const = 0;
    /// An absent value removes the key.
    virtual void write(std::string_view key, const std::optional<DefaultsValue>& value) = 0;
};

/// The user's settings. A registered default is the value of a key that the store does not have.
/// Any thread.
class UserDefaults {
  public:
    /// Posted on the shared centre, with the settings as object, after a value was written, and by
    /// whatever else detects a change of the store.
    static constexpr std::string_view kDidChangeNotification = "zelvane.UserDefaults.didChange";

    explicit UserDefaults(std::unique_ptr<UserDefaultsStore> store = nullptr);

    /// The settings of the process, in memory until the application sets a store.
    static UserDefaults& shared();
    /// Null means an empty store in memory.
    void setStore(std::unique_ptr<UserDefaultsStore> store);

    void registerDefaults(std::map<std::string, DefaultsValue, std::less<>> defaults);
    void set(std::string_view key, const std::optional<DefaultsValue>& value);
    std::optional<DefaultsValue> value(std::string_view key) const;

    /// The value, converted to that type where that is possible: a text is a list of one entry, and
    /// a list is a text with commas. False, 0 or empty when there is no value or it cannot be
    /// converted.
    bool boolForKey(std::string_view key) const;
    std::int64_t integerForKey(std::string_view key) const;
    double doubleForKey(std::string_view key) const;
    std::string stringForKey(std::string_view key) const;
    std::vector<std::string> stringsForKey(std::string_view key) const;

    /// Posts the notification. Call it when the store was changed by another program.
    void storeDidChange() const;

  private:
    mutable std::mutex mutex_;
    std::unique_ptr<UserDefaultsStore> store_;
    std::map<std::string, DefaultsValue, std::less<>> registered_;
};

} // namespace zelvane

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

/// Where settings are kept: a file below the application, memory in tests. Any thread.
class UserDefaultsStore {
  public:
    virtual ~UserDefaultsStore() = default;
    virtual std::optional<DefaultsValue> read(std::string_view key) const = 0;
    /// An absent value removes the key.
    virtual void write(std::string_view key, const std::optional<DefaultsValue>& value) = 0;
};

/// The user's settings, read where they are used; a registered default answers for a key that the
/// store does not have. Any thread.
class UserDefaults {
  public:
    explicit UserDefaults(std::unique_ptr<UserDefaultsStore> store = nullptr);

    /// The process-wide settings: in memory until the application gives them a store.
    static UserDefaults& shared();
    /// Null puts an empty one in memory.
    void setStore(std::unique_ptr<UserDefaultsStore> store);

    void registerDefaults(std::map<std::string, DefaultsValue, std::less<>> defaults);
    void set(std::string_view key, std::optional<DefaultsValue> value);
    std::optional<DefaultsValue> value(std::string_view key) const;

    /// The value as that type; a number or text converts as far as it means one. False, 0 or empty
    /// when there is none.
    bool boolForKey(std::string_view key) const;
    std::int64_t integerForKey(std::string_view key) const;
    double doubleForKey(std::string_view key) const;
    std::string stringForKey(std::string_view key) const;
    std::vector<std::string> stringsForKey(std::string_view key) const;

  private:
    mutable std::mutex mutex_;
    std::unique_ptr<UserDefaultsStore> store_;
    std::map<std::string, DefaultsValue, std::less<>> registered_;
};

} // namespace zelvane

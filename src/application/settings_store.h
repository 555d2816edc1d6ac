// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string_view>

#include <QSettings>
#include <QString>

#include "foundation/user_defaults.h"

namespace zelvane {

/// Settings in an ini file under the user's configuration folder. Any thread.
class SettingsStore final : public UserDefaultsStore {
  public:
    SettingsStore();

    /// The path of this user's settings file, which need not exist.
    static QString fileName();

    std::optional<DefaultsValue> read(std::string_view key) const override;
    void write(std::string_view key, const std::optional<DefaultsValue>& value) override;

  private:
    mutable std::mutex mutex_;
    mutable QSettings settings_;
};

} // namespace zelvane

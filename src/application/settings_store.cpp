// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/settings_store.h"

#include <type_traits>
#include <variant>

#include <QString>
#include <QStringList>
#include <QVariant>

namespace zelvane {
namespace {

QString qString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QVariant variantOf(const DefaultsValue& value) {
    return std::visit(
        [](const auto& held) -> QVariant {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, std::string>) {
                return qString(held);
            } else if constexpr (std::is_same_v<Held, std::vector<std::string>>) {
                QStringList list;
                for (const auto& entry : held) {
                    list << qString(entry);
                }
                // The file format has no empty list: it would read as no value at all.
                return list.isEmpty() ? QVariant(QString()) : QVariant(list);
            } else if constexpr (std::is_same_v<Held, std::int64_t>) {
                return QVariant::fromValue<qlonglong>(held);
            } else {
                return held;
            }
        },
        value);
}

/// An ini file stores text only: UserDefaults converts it to the type that is asked for.
DefaultsValue valueOf(const QVariant& variant) {
    if (variant.typeId() == QMetaType::QStringList) {
        std::vector<std::string> list;
        for (const auto& entry : variant.toStringList()) {
            list.push_back(entry.toStdString());
        }
        return list;
    }
    return variant.toString().toStdString();
}

} // namespace

QString SettingsStore::fileName() {
    return QSettings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("zelvane"),
                     QStringLiteral("player"))
        .fileName();
}

SettingsStore::SettingsStore() : settings_(fileName(), QSettings::IniFormat) {}

std::optional<DefaultsValue> SettingsStore::read(std::string_view key) const {
    const std::lock_guard guard(mutex_);
    const QVariant variant = settings_.value(qString(key));
    return variant.isValid() ? std::optional(valueOf(variant)) : std::nullopt;
}

void SettingsStore::write(std::string_view key, const std::optional<DefaultsValue>& value) {
    const std::lock_guard guard(mutex_);
    if (value) {
        settings_.setValue(qString(key), variantOf(*value));
    } else {
        settings_.remove(qString(key));
    }
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusMessage>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

namespace zelvane {

class ProgramService;

/// org.freedesktop.Application, the interface by which a desktop starts and activates programs.
class ApplicationAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

  public:
    static constexpr const char* kInterface = "org.freedesktop.Application";

    explicit ApplicationAdaptor(ProgramService& service);

    // The names and types are those of the interface. NOLINTBEGIN(readability-identifier-naming)
  public slots:
    void Activate(const QVariantMap& platform_data);
    void Open(const QStringList& uris, const QVariantMap& platform_data);
    void ActivateAction(const QString& action_name, const QVariantList& parameter,
                        const QVariantMap& platform_data, const QDBusMessage& message);
    // NOLINTEND(readability-identifier-naming)

  private:
    ProgramService& service_;
};

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/program_service/application_adaptor.h"

#include <vector>

#include <QDBusConnection>
#include <QDBusMessage>

#include "platform/program_service/program_service.h"

namespace zelvane {
namespace {

/// Each file becomes a window.
constexpr qsizetype kMostFiles = 200;

/// The toolkit shows the next window with this token.
void takeToken(const QVariantMap& platformData) {
    const QByteArray token = platformData.value("activation-token").toString().toUtf8();
    if (!token.isEmpty() && !token.contains('\0')) {
        qputenv("XDG_ACTIVATION_TOKEN", token);
    }
}

} // namespace

ApplicationAdaptor::ApplicationAdaptor(ProgramService& service)
    : QDBusAbstractAdaptor(&service), service_(service) {}

void ApplicationAdaptor::Activate(const QVariantMap& platform_data) {
    takeToken(platform_data);
    service_.requests().activate();
}

void ApplicationAdaptor::Open(const QStringList& uris, const QVariantMap& platform_data) {
    takeToken(platform_data);
    std::vector<URL> files;
    for (const QString& uri : uris.mid(0, kMostFiles)) {
        files.push_back(URL::parse(uri.toStdString()));
    }
    service_.requests().open(files);
}

void ApplicationAdaptor::ActivateAction(const QString& action_name,
                                        const QVariantList& /*parameter*/,
                                        const QVariantMap& platform_data,
                                        const QDBusMessage& message) {
    takeToken(platform_data);
    if (!service_.requests().activateAction(action_name.toStdString())) {
        message.setDelayedReply(true);
        service_.bus().send(message.createErrorReply(
            QDBusError::InvalidArgs, QStringLiteral("There is no action '%1'.").arg(action_name)));
    }
}

} // namespace zelvane

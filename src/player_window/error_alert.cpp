// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/error_alert.h"

#include <memory>

#include <QGridLayout>
#include <QMessageBox>
#include <QStringList>

#include "foundation/error.h"
#include "player_window/controls/control_colors.h"

namespace zelvane {
namespace {

struct AlertTexts {
    QString message;
    QString informative;
};

AlertTexts alertTexts(const std::exception& error) {
    const auto* localized = dynamic_cast<const LocalizedError*>(&error);
    if (localized == nullptr) {
        return {QString::fromStdString(errorDescriptionText(error)), {}};
    }
    QStringList informative;
    for (const auto& part : {localized->failureReason(), localized->recoverySuggestion()}) {
        if (part) {
            informative << QString::fromStdString(*part);
        }
    }
    return {QString::fromStdString(localized->errorDescription().value_or("")),
            informative.join(' ')};
}

/// The layout fixes the size of the alert, which would elide its title after few letters.
void widen(QMessageBox& alert) {
    constexpr int kLeastWidth = 420;
    if (auto* grid = qobject_cast<QGridLayout*>(alert.layout())) {
        grid->addItem(std::make_unique<QSpacerItem>(kLeastWidth, 0).release(), grid->rowCount(), 0,
                      1, grid->columnCount());
    }
}

} // namespace

QMessageBox* makeErrorAlert(const std::exception& error, const QString& fileName, QWidget* parent) {
    const auto texts = alertTexts(error);
    // The parent owns it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    auto* alert = new QMessageBox(QMessageBox::Critical, fileName, texts.message,
                                  QMessageBox::NoButton, parent);
    // File names must not be read as markup.
    alert->setTextFormat(Qt::PlainText);
    alert->setInformativeText(texts.informative);
    alert->setPalette(control_colors::menuPalette());
    widen(*alert);
    alert->setDefaultButton(alert->addButton("OK", QMessageBox::AcceptRole));
    alert->setWindowModality(parent == nullptr ? Qt::NonModal : Qt::WindowModal);
    return alert;
}

void showErrorAlert(const std::exception& error, const QString& fileName, QWidget* parent,
                    std::function<void()> dismissed) {
    auto* alert = makeErrorAlert(error, fileName, parent);
    alert->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(alert, &QMessageBox::finished, alert, [dismissed = std::move(dismissed)] {
        if (dismissed) {
            dismissed();
        }
    });
    alert->show();
}

} // namespace zelvane

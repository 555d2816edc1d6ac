// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/restoration_error.h"

#include <QCoreApplication>
#include <QStringList>

namespace zelvane {
namespace {

/// More would make the alert higher than the screen.
constexpr qsizetype kMaximumNameCount = 8;

QString translated(const char* text, int count = -1) {
    return QCoreApplication::translate("RestorationError", text, nullptr, count);
}

} // namespace

LocalizedError restorationError(const std::vector<std::string>& fileNames) {
    QStringList names;
    for (const auto& name : fileNames) {
        names << translated("“%1”").arg(QString::fromStdString(name));
    }
    const qsizetype rest = names.size() - kMaximumNameCount;
    if (rest > 0) {
        names = names.first(kMaximumNameCount);
        names << translated("and %n more", static_cast<int>(rest));
    }
    const QString description =
        fileNames.size() == 1 ? translated("A file of the last session could not be opened.")
                              : translated("Some files of the last session could not be opened.");
    return {"filesNotRestored", description.toStdString(),
            translated("Not found or not readable: %1.").arg(names.join(", ")).toStdString(),
            std::nullopt};
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/open_panel.h"

#include <string_view>
#include <utility>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QStandardPaths>

#include "foundation/user_defaults.h"
#include "media_player/media_source/media_file_names.h"

namespace zelvane {
namespace {

constexpr std::string_view kFolderKey = "ZLVNOpenPanelFolder";

struct OpenPanelTexts {
    Q_DECLARE_TR_FUNCTIONS(OpenPanel)
};

/// Where nothing was chosen yet, a user keeps films.
QString firstFolder(const UserDefaults& defaults) {
    const auto last = QString::fromStdString(defaults.stringForKey(kFolderKey));
    const auto films = QStandardPaths::writableLocation(QStandardPaths::MoviesLocation);
    for (const QString& folder : {last, films}) {
        if (!folder.isEmpty() && QDir(folder).exists()) {
            return folder;
        }
    }
    return QDir::homePath();
}

} // namespace

QStringList mediaFileFilters() {
    QStringList patterns;
    for (const std::string& extension : mediaFileNameExtensions()) {
        patterns << "*." + QString::fromStdString(extension);
    }
    return {OpenPanelTexts::tr("Media Files") + " (" + patterns.join(' ') + ')',
            OpenPanelTexts::tr("All Files") + " (*)"};
}

OpenPanel::~OpenPanel() {
    delete dialog_.data(); // NOLINT(cppcoreguidelines-owning-memory)
}

void OpenPanel::show(QWidget* parent, std::function<void(const std::vector<URL>&)> finished) {
    // Deleted when it has finished, or by the destructor.
    dialog_ = new QFileDialog(parent); // NOLINT(cppcoreguidelines-owning-memory)
    dialog_->setWindowTitle(OpenPanelTexts::tr("Open"));
    dialog_->setFileMode(QFileDialog::ExistingFiles);
    dialog_->setOption(QFileDialog::HideNameFilterDetails);
    dialog_->setNameFilters(mediaFileFilters());
    dialog_->setDirectory(firstFolder(defaults_));
    QObject::connect(dialog_, &QFileDialog::finished, dialog_,
                     [this, finished = std::move(finished)](int result) {
                         QFileDialog* dialog = std::exchange(dialog_, nullptr);
                         dialog->deleteLater();
                         finished(result == QDialog::Accepted ? takeFiles(*dialog)
                                                              : std::vector<URL>());
                     });
    dialog_->open();
}

std::vector<URL> OpenPanel::takeFiles(QFileDialog& dialog) {
    defaults_.set(kFolderKey, dialog.directory().absolutePath().toStdString());
    std::vector<URL> files;
    for (const QString& path : dialog.selectedFiles()) {
        files.push_back(URL::fromPath(QFile::encodeName(path).toStdString()));
    }
    return files;
}

void OpenPanel::cancel() {
    if (dialog_) {
        dialog_->reject();
    }
}

} // namespace zelvane

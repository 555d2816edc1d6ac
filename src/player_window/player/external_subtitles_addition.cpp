// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/player/external_subtitles_addition.h"

#include <utility>

#include <QFile>
#include <QFileDialog>
#include <QFileInfo>

#include "foundation/dispatch.h"
#include "foundation/uuid.h"
#include "media_player/media_source/subtitles_file_names.h"
#include "player_window/file_icon.h"
#include "player_window/player/progress_sheet.h"

namespace zelvane {
namespace {

QString pathOf(const URL& url) {
    return QFile::decodeName(QByteArray::fromStdString(url.path()));
}

QString subtitlesNamePatterns() {
    QStringList patterns;
    for (const std::string_view extension : subtitlesFileNameExtensions()) {
        patterns << QStringLiteral("*.") +
                        QString::fromUtf8(extension.data(), static_cast<int>(extension.size()));
    }
    return patterns.join(' ');
}

} // namespace

ExternalSubtitlesAddition::ExternalSubtitlesAddition(std::shared_ptr<PlayableSource> source,
                                                     QWidget& view, Handlers handlers)
    : source_(std::move(source)), view_(view), handlers_(std::move(handlers)),
      folder_(QFileInfo(pathOf(source_->url())).absolutePath()) {}

ExternalSubtitlesAddition::~ExternalSubtitlesAddition() = default;

template <class Result>
std::function<void(const Result&)>
ExternalSubtitlesAddition::finishingWith(std::function<void(const Result&)> handler) {
    return [self = QPointer(this), uuid = operationUUID_,
            handler = std::move(handler)](const Result& result) {
        dispatch::mainQueue()->async([self, uuid, handler, result] {
            if (self && self->operationUUID_ == uuid) {
                self->endOperation();
                handler(result);
            }
        });
    };
}

void ExternalSubtitlesAddition::add(const URL& url) {
    if (isUnderWay()) {
        return;
    }
    operationUUID_ = makeUUIDString();
    showSheet(url);
    source_->addExternalSubtitles(
        url, finishingWith(handlers_.didAdd),
        finishingWith<MediaSourceLoadError>(
            [this, url](const MediaSourceLoadError& error) { handlers_.didFail(url, error); }));
}

void ExternalSubtitlesAddition::showSheet(const URL& url) {
    const QString name = QString::fromStdString(url.lastPathComponent());
    // The view owns it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    sheet_ = new ProgressSheet(fileIcon(name), tr("Opening “%1”…").arg(name), &view_);
    connect(sheet_, &ProgressSheet::cancelled, this, &ExternalSubtitlesAddition::endOperation);
    handlers_.didBegin();
}

void ExternalSubtitlesAddition::endOperation() {
    operationUUID_.reset();
    if (sheet_) {
        if (sheet_->isVisible()) {
            // Else a button of the controls gets the focus, and Space presses it.
            view_.window()->setFocus();
        }
        sheet_->hide();
        sheet_->deleteLater();
    }
    handlers_.didEnd();
}

void ExternalSubtitlesAddition::showOpenPanel() {
    if (isUnderWay() || openPanel_) {
        return;
    }
    // The window owns it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    openPanel_ = new QFileDialog(view_.window(), tr("Add Subtitles"), folder_);
    openPanel_->setFileMode(QFileDialog::ExistingFile);
    openPanel_->setNameFilters(
        {tr("Subtitles (%1)").arg(subtitlesNamePatterns()), tr("All Files (*)")});
    connect(openPanel_, &QFileDialog::fileSelected, this, [this](const QString& path) {
        add(URL::fromPath(QFile::encodeName(path).toStdString()));
    });
    // A hidden dialog can leave its list of completions on the screen: do not keep it.
    connect(openPanel_, &QFileDialog::finished, this, [this] {
        folder_ = openPanel_->directory().absolutePath();
        openPanel_->deleteLater();
    });
    openPanel_->open();
}

} // namespace zelvane

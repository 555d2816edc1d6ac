// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/mpris/artwork_file.h"

#include <cerrno>
#include <csignal>
#include <utility>

#include <QCoreApplication>
#include <QDir>
#include <QImage>
#include <QTemporaryFile>
#include <QUrl>

#include "foundation/log.h"

namespace zelvane {
namespace {

/// Larger pictures are shown nowhere, and take seconds to encode.
constexpr int kLargestSide = 1024;

QImage imageOf(const Image& artwork) {
    const QImage image(artwork.pixels.data(), artwork.width, artwork.height, artwork.width * 4,
                       QImage::Format_RGBA8888);
    const bool isLarge = artwork.width > kLargestSide || artwork.height > kLargestSide;
    return isLarge ? image.scaled(kLargestSide, kLargestSide, Qt::KeepAspectRatio,
                                  Qt::SmoothTransformation)
                   : image;
}

bool isRunning(pid_t process) {
    return kill(process, 0) == 0 || errno != ESRCH;
}

/// The names have the form "artwork-<process>-<random>.png".
void removeFilesOfKilledProcesses(QDir folder) {
    for (const QString& name : folder.entryList({"artwork-*-*.png"}, QDir::Files)) {
        const int process = name.section('-', 1, 1).toInt();
        if (process > 0 && !isRunning(process)) {
            folder.remove(name);
        }
    }
}

} // namespace

struct ArtworkFile::File {
    explicit File(QString name) : path(std::move(name)) {}
    ~File() { QFile::remove(path); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    const QString path;
};

ArtworkFile::ArtworkFile(QString folder, dispatch::Task didChange)
    : folder_(std::move(folder)), didChange_(std::move(didChange)) {}

QString ArtworkFile::url() const {
    return file_ ? QUrl::fromLocalFile(file_->path).toString(QUrl::FullyEncoded) : QString();
}

void ArtworkFile::setArtwork(const ImageRef& artwork) {
    if (artwork == artwork_) {
        return;
    }
    artwork_ = artwork;
    file_ = nullptr;
    if (!artwork) {
        return;
    }
    const auto write = [folder = folder_, artwork, weakSelf = std::weak_ptr(self_)] {
        const FileRef file = ArtworkFile::write(folder, *artwork);
        dispatch::mainQueue()->async([weakSelf, artwork, file] {
            if (const auto self = weakSelf.lock()) {
                (*self)->didWrite(artwork, file);
            }
        });
    };
    dispatch::globalQueue(dispatch::QualityOfService::utility)->async(write);
}

ArtworkFile::FileRef ArtworkFile::write(const QString& folder, const Image& artwork) {
    QDir().mkpath(folder);
    removeFilesOfKilledProcesses(folder);
    QTemporaryFile temporary(QStringLiteral("%1/artwork-%2-XXXXXX.png")
                                 .arg(folder)
                                 .arg(QCoreApplication::applicationPid()));
    temporary.setAutoRemove(false);
    const bool isOpen = temporary.open();
    auto file = std::make_shared<const File>(temporary.fileName());
    if (isOpen && imageOf(artwork).save(&temporary, "PNG") && temporary.flush()) {
        return file;
    }
    logMessage("The artwork could not be written: {}.", temporary.errorString().toStdString());
    return nullptr;
}

void ArtworkFile::didWrite(const ImageRef& artwork, const FileRef& file) {
    if (artwork == artwork_ && file) {
        file_ = file;
        didChange_();
    }
}

} // namespace zelvane

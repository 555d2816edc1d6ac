// SPDX-License-Identifier: GPL-3.0-or-later
#include "application/session_file.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include "foundation/log.h"

namespace zelvane {
namespace {

/// Some thousand times the state of one window.
constexpr qint64 kMaximumSize = 4'000'000;

void logFailure(const char* action, const QFileDevice& file) {
    logMessage("Failed to {} the session in “{}”: {}.", action, file.fileName().toStdString(),
               file.errorString().toStdString());
}

} // namespace

QString SessionFile::defaultPath() {
    // Qt 6.4 does not know this folder.
    QString folder = QFile::decodeName(qgetenv("XDG_STATE_HOME"));
    if (!QDir::isAbsolutePath(folder)) {
        folder = QDir::homePath() + QStringLiteral("/.local/state");
    }
    return folder + QStringLiteral("/zelvane-player/session.json");
}

SessionFile::SessionFile(QString path) : path_(std::move(path)) {}

bool SessionFile::lock() {
    QDir().mkpath(QFileInfo(path_).path());
    const QByteArray name = QFile::encodeName(path_ + QStringLiteral(".lock"));
    lock_.emplace(open(name.constData(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));
    // A file system without locks must not keep the session from being used.
    return flock(lock_->get(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

std::optional<QByteArray> SessionFile::contents() {
    QFile file(path_);
    if (!file.exists()) {
        return std::nullopt;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        logFailure("read", file);
        isWritable_ = false;
        return std::nullopt;
    }
    // One byte too many makes the data incomplete.
    return file.read(kMaximumSize + 1);
}

StoredSession SessionFile::read() {
    isWritable_ = lock();
    const auto data = isWritable_ ? contents() : std::nullopt;
    if (!data) {
        return {};
    }
    auto session =
        StoredSession::fromData({data->constData(), static_cast<std::size_t>(data->size())});
    if (session.condition == StoredSession::Condition::newer) {
        logMessage("The session is that of a newer version, and is left alone.");
        isWritable_ = false;
    } else if (session.condition == StoredSession::Condition::damaged) {
        logMessage("The session is damaged: {} windows were found.", session.windows.size());
        isWritable_ = keepBeside();
    }
    return session;
}

bool SessionFile::keepBeside() const {
    QFile file(path_);
    const QString copy = path_ + QStringLiteral(".bad");
    QFile::remove(copy);
    if (!file.copy(copy)) {
        logFailure("keep", file);
        return false;
    }
    return true;
}

void SessionFile::write(const std::string& data) {
    QSaveFile file(path_);
    const auto size = static_cast<qint64>(data.size());
    // It names what the user has watched.
    const bool isWritten = file.open(QIODevice::WriteOnly) &&
                           file.setPermissions(QFile::ReadOwner | QFile::WriteOwner) &&
                           file.write(data.data(), size) == size && file.commit();
    if (!std::exchange(didFailToWrite_, !isWritten) && didFailToWrite_) {
        logFailure("write", file);
    }
}

} // namespace zelvane

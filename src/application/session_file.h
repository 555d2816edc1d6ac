// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

#include <QByteArray>
#include <QString>

#include "application/session_state.h"
#include "foundation/file_descriptor.h"

namespace zelvane {

/// The file that keeps the session between runs. Only one process at a time uses it.
class SessionFile {
  public:
    /// "session.json" in the folder of the program below $XDG_STATE_HOME.
    static QString defaultPath();
    explicit SessionFile(QString path);

    /// Takes the file for this process and reads it. A damaged file is copied beside first, under
    /// the same name with ".bad". Without windows while another process has the file.
    StoredSession read();
    /// After read(): whether write() may replace the file. Not that of another process or of a
    /// newer version, nor one that could not be read or copied.
    bool isWritable() const { return isWritable_; }
    /// Replaces the file as a whole. The first of several failures is logged. On any thread, one
    /// call at a time.
    void write(const std::string& data);

  private:
    bool lock();
    std::optional<QByteArray> contents();
    bool keepBeside() const;

    const QString path_;
    /// Locked until the process ends, however it ends.
    std::optional<FileDescriptor> lock_;
    bool isWritable_ = false;
    bool didFailToWrite_ = false;
};

} // namespace zelvane

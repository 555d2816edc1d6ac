// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include <QString>

#include "core_media/image.h"
#include "foundation/dispatch.h"

namespace zelvane {

/// A picture as a file in a folder, for programs that show it. The file exists as long as the
/// picture is set; files of processes that were killed are removed before the first one is written.
/// Main thread.
class ArtworkFile final {
  public:
    /// `didChange` is called when a file has been written.
    ArtworkFile(QString folder, dispatch::Task didChange);

    /// Removes the file of another picture, and writes this one in the background. May be null.
    void setArtwork(const ImageRef& artwork);
    /// Empty until the file is written, and where it cannot be.
    QString url() const;

  private:
    struct File;
    using FileRef = std::shared_ptr<const File>;

    static FileRef write(const QString& folder, const Image& artwork);
    void didWrite(const ImageRef& artwork, const FileRef& file);

    const QString folder_;
    const dispatch::Task didChange_;
    ImageRef artwork_;
    FileRef file_;
    /// The tasks in the background can end after this.
    const std::shared_ptr<ArtworkFile*> self_ = std::make_shared<ArtworkFile*>(this);
};

} // namespace zelvane

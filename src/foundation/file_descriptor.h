// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <unistd.h>

namespace zelvane {

/// Owns a file descriptor and closes it. A negative one is none: open() has failed.
class FileDescriptor {
  public:
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
    ~FileDescriptor() {
        if (isOpen()) {
            close(descriptor_);
        }
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    bool isOpen() const { return descriptor_ >= 0; }
    int get() const { return descriptor_; }

  private:
    int descriptor_;
};

} // namespace zelvane

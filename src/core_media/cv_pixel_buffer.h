// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

#include "core_media/cv_attachments.h"
#include "core_media/ffmpeg_handles.h"
#include "core_media/pixel_format.h"
#include "foundation/status_error.h"

namespace zelvane {

inline constexpr CVReturn kCVReturnError = -6660;
inline constexpr CVReturn kCVReturnInvalidArgument = -6661;
inline constexpr CVReturn kCVReturnAllocationFailed = -6662;
inline constexpr CVReturn kCVReturnInvalidSize = -6681;
inline constexpr CVReturn kCVReturnInvalidPixelFormat = -6680;
inline constexpr CVReturn kCVReturnPoolAllocationFailed = -6690;

/// One picture in memory or on a device, with what is known about its colours. Shared by reference.
/// Its producer fills it and sets its attachments before it passes the buffer on; after that any
/// thread may read it and none writes it.
class CVPixelBuffer {
  public:
    struct Plane {
        std::uint8_t* baseAddress = nullptr;
        std::size_t bytesPerRow = 0;
        /// In blocks of the format's plane layout.
        int width = 0;
        int height = 0;
    };
    struct Geometry {
        OSType pixelFormat = 0;
        int width = 0;
        int height = 0;
        int planeCount = 1;
        std::array<Plane, 4> planes{};
    };

    /// A picture over memory that `owner` keeps alive.
    static std::shared_ptr<CVPixelBuffer> overMemory(const Geometry& geometry,
                                                     std::shared_ptr<void> owner);
    /// A picture over a decoded software frame, whose memory is used in place and never written.
    /// Null when the frame's rows run upward or are short, or its layout is not `pixelFormat`'s.
    static std::shared_ptr<CVPixelBuffer> wrappingFrame(ffmpeg::Frame frame, OSType pixelFormat);
    /// A picture on a device. `pixelFormat` is the format of its pixels once they are copied to
    /// memory. It has no base addresses.
    static std::shared_ptr<CVPixelBuffer> onDevice(ffmpeg::Frame frame, OSType pixelFormat);

    OSType pixelFormat() const { return geometry_.pixelFormat; }
    int width() const { return geometry_.width; }
    int height() const { return geometry_.height; }
    bool isPlanar() const;
    int planeCount() const { return geometry_.planeCount; }
    const Plane& plane(int index) const { return geometry_.planes.at(static_cast<size_t>(index)); }
    /// The approximate number of bytes that the picture occupies in memory or on its device, for
    /// limits on queues.
    std::size_t dataSize() const;
    /// The frame on the device, or null for a picture in memory. Owned by the buffer.
    const AVFrame* deviceFrame() const { return deviceFrame_.get(); }

    const CVAttachments& attachments() const { return attachments_; }
    /// The attachment as that type, or null.
    template <class Value>
    const Value* attachment(std::string_view key) const {
        const auto found = attachments_.find(key);
        return found == attachments_.end() ? nullptr : std::get_if<Value>(&found->second);
    }
    bool hasAttachment(std::string_view key) const { return attachments_.contains(key); }
    void setAttachment(std::string_view key, CVAttachmentValue value);
    void setAttachments(const CVAttachments& attachments);
    void removeAttachment(std::string_view key);

  private:
    CVPixelBuffer() = default;

    Geometry geometry_;
    std::shared_ptr<void> owner_;
    ffmpeg::Frame deviceFrame_;
    CVAttachments attachments_;
};

using CVPixelBufferRef = std::shared_ptr<CVPixelBuffer>;

/// The properties of a pool's buffers.
struct CVPixelBufferPoolAttributes {
    OSType pixelFormat = 0;
    int width = 0;
    int height = 0;
    /// Pixels beyond the picture that the memory must hold, for decoders that write there.
    int extendedPixelsRight = 0;
    int extendedPixelsBottom = 0;
    /// A power of two.
    int bytesPerRowAlignment = 16;
    /// The attachments of each new buffer.
    CVAttachments propagatedAttachments;
};

/// Makes buffers of one kind, and reuses the memory of a buffer after its last reference is
/// released, on any thread. The pool may be destroyed before its buffers.
class CVPixelBufferPool {
  public:
    /// Throws SystemError of the Core Video domain: kCVReturnInvalidPixelFormat,
    /// kCVReturnInvalidSize, kCVReturnInvalidArgument or kCVReturnAllocationFailed.
    explicit CVPixelBufferPool(CVPixelBufferPoolAttributes attributes);

    /// Throws SystemError kCVReturnPoolAllocationFailed.
    CVPixelBufferRef makePixelBuffer() const;
    const CVPixelBufferPoolAttributes& attributes() const { return attributes_; }

  private:
    CVPixelBufferPoolAttributes attributes_;
    /// Without addresses.
    CVPixelBuffer::Geometry geometry_;
    std::array<std::size_t, 4> offsets_{};
    /// FFmpeg counts its references: buffers keep the memory.
    ffmpeg::BufferPool pool_;
};

} // namespace zelvane

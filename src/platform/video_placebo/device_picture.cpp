// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/video_placebo/device_picture.h"

#include <utility>

#include "core_media/ffmpeg_pixel_format.h"
#include "foundation/log.h"

namespace zelvane {

CVPixelBufferRef pictureInMemory(const CVPixelBufferRef& picture) {
    const AVFrame* onDevice = picture->deviceFrame();
    if (onDevice == nullptr) {
        return picture;
    }
    ffmpeg::Frame copy(av_frame_alloc());
    if (copy == nullptr) {
        return nullptr;
    }
    copy->format = ffmpegPixelFormat(picture->pixelFormat());
    const int result = av_hwframe_transfer_data(copy.get(), onDevice, 0);
    if (result < 0) {
        logMessage("Failed to bring a frame to memory: {}.", result);
        return nullptr;
    }
    // The device may keep more rows and columns than the picture has.
    copy->width = onDevice->width;
    copy->height = onDevice->height;
    auto made = CVPixelBuffer::wrappingFrame(std::move(copy), picture->pixelFormat());
    if (made != nullptr) {
        made->setAttachments(picture->attachments(), CVAttachmentMode::shouldPropagate);
    }
    return made;
}

} // namespace zelvane

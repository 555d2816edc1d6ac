// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/device_picture.h"

#include <utility>

namespace zelvane {

CVPixelBufferRef downloadedPicture(const CVPixelBuffer& onDevice) {
    ffmpeg::Frame frame(av_frame_alloc());
    if (frame == nullptr || onDevice.deviceFrame() == nullptr ||
        av_hwframe_transfer_data(frame.get(), onDevice.deviceFrame(), 0) < 0) {
        return nullptr;
    }
    // Devices round sizes up.
    frame->width = onDevice.width();
    frame->height = onDevice.height();
    auto inMemory = CVPixelBuffer::wrappingFrame(std::move(frame), onDevice.pixelFormat());
    if (inMemory != nullptr) {
        inMemory->setAttachments(onDevice.attachments());
    }
    return inMemory;
}

ffmpeg::Frame mappedAsDMABufs(const AVFrame& deviceFrame) {
    ffmpeg::Frame view(av_frame_alloc());
    if (view == nullptr || deviceFrame.format != AV_PIX_FMT_VAAPI) {
        return nullptr;
    }
    view->format = AV_PIX_FMT_DRM_PRIME;
    constexpr int kInPlace = AV_HWFRAME_MAP_READ | AV_HWFRAME_MAP_DIRECT;
    return av_hwframe_map(view.get(), &deviceFrame, kInPlace) < 0 ? nullptr : std::move(view);
}

std::vector<DMABufPlane> dmaBufPlanes(const AVDRMFrameDescriptor& description) {
    std::vector<DMABufPlane> planes;
    if (description.nb_layers < 1 || description.nb_layers > AV_DRM_MAX_PLANES) {
        return {};
    }
    for (int i = 0; i < description.nb_layers; ++i) {
        const auto& layer = description.layers[i];
        const auto& plane = layer.planes[0];
        if (layer.nb_planes != 1 || plane.object_index < 0 ||
            plane.object_index >= description.nb_objects) {
            return {};
        }
        const auto& object = description.objects[plane.object_index];
        planes.push_back({object.fd, object.size, static_cast<std::size_t>(plane.offset),
                          static_cast<std::size_t>(plane.pitch), layer.format,
                          object.format_modifier});
    }
    return planes;
}

} // namespace zelvane

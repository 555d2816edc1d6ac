// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "core_media/cv_pixel_buffer.h"

namespace zelvane {

/// Frames on a device that the player holds at once, beside those that the decoder refers to: 8
/// that wait in the display layer and the one shown, 2 at the surface, the one that short seeks
/// keep, and one between decoder and display layer. Devices have a fixed number of frames.
inline constexpr int kDeviceFramesHeldByPlayer = 13;

/// A copy in memory of a picture on a device, with its attachments. Null when the device fails, or
/// lays the picture out as no pixel format does. Any thread.
CVPixelBufferRef downloadedPicture(const CVPixelBuffer& onDevice);

/// A view of a device's frame as DMA-BUFs, which graphics libraries import without a copy. The view
/// keeps the frame. Null for devices other than VAAPI, and when the driver refuses. Any thread.
ffmpeg::Frame mappedAsDMABufs(const AVFrame& deviceFrame);

/// Where one plane of a picture is in a DMA-BUF.
struct DMABufPlane {
    /// Owned by the frame.
    int fileDescriptor = -1;
    std::size_t size = 0;
    std::size_t offset = 0;
    std::size_t bytesPerRow = 0;
    /// As in <drm_fourcc.h>.
    std::uint32_t format = 0;
    std::uint64_t modifier = 0;
};

/// The planes of such a view, in the order of the picture's planes. Empty when the description is
/// of another kind: several planes in a layer, or references outside of its arrays.
std::vector<DMABufPlane> dmaBufPlanes(const AVDRMFrameDescriptor& description);

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/video_placebo/imported_picture.h"

#include <algorithm>
#include <utility>

#include "core_media/device_picture.h"

namespace zelvane {
namespace {

/// Null when the GPU does not support the format or the modifier.
pl_tex importPlane(pl_gpu gpu, const DMABufPlane& plane, const pl_plane_data& layout) {
    pl_tex_params params{};
    params.w = layout.width;
    params.h = layout.height;
    params.format = pl_find_fourcc(gpu, plane.format);
    params.sampleable = true;
    params.import_handle = PL_HANDLE_DMA_BUF;
    params.shared_mem.handle.fd = plane.fileDescriptor;
    params.shared_mem.size = plane.size;
    params.shared_mem.offset = plane.offset;
    params.shared_mem.drm_format_mod = plane.modifier;
    params.shared_mem.stride_w = plane.bytesPerRow;
    return params.format == nullptr || !pl_fmt_has_modifier(params.format, plane.modifier)
               ? nullptr
               : pl_tex_create(gpu, &params);
}

} // namespace

bool canImportPictures(pl_gpu gpu) {
    return (gpu->import_caps.tex & PL_HANDLE_DMA_BUF) != 0;
}

std::unique_ptr<ImportedPicture> ImportedPicture::import(pl_gpu gpu,
                                                         const CVPixelBufferRef& picture,
                                                         const PlaceboFrameMapping& mapping) {
    std::unique_ptr<ImportedPicture> made(new ImportedPicture(gpu, picture));
    made->view_ = mappedAsDMABufs(*picture->deviceFrame());
    return made->view_ != nullptr && made->importPlanes(mapping) ? std::move(made) : nullptr;
}

ImportedPicture::~ImportedPicture() {
    for (auto& plane : planes_) {
        pl_tex_destroy(gpu_, &plane.texture);
    }
}

bool ImportedPicture::importPlanes(const PlaceboFrameMapping& mapping) {
    const auto planes =
        dmaBufPlanes(*reinterpret_cast<const AVDRMFrameDescriptor*>(view_->data[0]));
    if (planes.size() != static_cast<std::size_t>(mapping.planeCount)) {
        return false;
    }
    for (std::size_t i = 0; i < planes.size(); ++i) {
        const auto& layout = mapping.planes.at(i);
        auto& plane = planes_.at(i);
        plane.texture = importPlane(gpu_, planes[i], layout);
        if (plane.texture == nullptr) {
            return false;
        }
        while (plane.components < 4 && layout.component_size[plane.components] > 0) {
            plane.component_mapping[plane.components] = layout.component_map[plane.components];
            ++plane.components;
        }
        ++planeCount_;
    }
    return true;
}

void ImportedPicture::setPlanes(pl_frame& frame) const {
    frame.num_planes = planeCount_;
    std::copy(planes_.begin(), planes_.end(), frame.planes);
}

} // namespace zelvane

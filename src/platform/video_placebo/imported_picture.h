// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <memory>

#include "core_media/cv_pixel_buffer.h"
#include "platform/video_placebo/placebo_frame_mapping.h"

namespace zelvane {

/// Whether the GPU can use a video decoder's pictures without a copy.
bool canImportPictures(pl_gpu gpu);

/// Textures over the memory of a video decoder's picture, which they keep. All calls, including the
/// destructor, need the OpenGL context current.
class ImportedPicture {
  public:
    /// Null when the GPU does not support the decoder's layout.
    static std::unique_ptr<ImportedPicture> import(pl_gpu gpu, const CVPixelBufferRef& picture,
                                                   const PlaceboFrameMapping& mapping);
    ~ImportedPicture();
    ImportedPicture(const ImportedPicture&) = delete;
    ImportedPicture& operator=(const ImportedPicture&) = delete;

    void setPlanes(pl_frame& frame) const;

  private:
    ImportedPicture(pl_gpu gpu, CVPixelBufferRef picture)
        : gpu_(gpu), picture_(std::move(picture)) {}
    bool importPlanes(const PlaceboFrameMapping& mapping);

    pl_gpu gpu_;
    CVPixelBufferRef picture_;
    ffmpeg::Frame view_;
    int planeCount_ = 0;
    std::array<pl_plane, PL_MAX_PLANES> planes_{};
};

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/video_placebo/placebo_renderer.h"

#include <array>
#include <utility>

#include <EGL/egl.h>

#include "core_media/device_picture.h"
#include "foundation/log.h"
#include "foundation/release.h"
#include "platform/video_placebo/imported_picture.h"
#include "platform/video_placebo/placebo_frame_mapping.h"

namespace zelvane {
namespace {

template <class Handle, auto destroy>
using Owned = std::unique_ptr<std::remove_pointer_t<Handle>, ReleaseByAddress<destroy>>;

void logFromPlacebo(void* /*context*/, pl_log_level /*level*/, const char* message) {
    logMessage("libplacebo: {}", message);
}

pl_log makeLog() {
    pl_log_params params{};
    params.log_cb = logFromPlacebo;
    params.log_level = PL_LOG_WARN;
    return pl_log_create(PL_API_VER, &params);
}

/// A picture's textures, in the memory of the graphics processor.
class Textures {
  public:
    explicit Textures(pl_gpu gpu) : gpu_(gpu) {}
    ~Textures() {
        for (auto& texture : textures_) {
            pl_tex_destroy(gpu_, &texture);
        }
    }
    Textures(const Textures&) = delete;
    Textures& operator=(const Textures&) = delete;

    pl_tex* at(int index) { return &textures_.at(static_cast<std::size_t>(index)); }

  private:
    pl_gpu gpu_;
    std::array<pl_tex, PL_MAX_PLANES> textures_{};
};

/// Another owner's framebuffer, for one draw call.
class WrappedFramebuffer {
  public:
    WrappedFramebuffer(pl_gpu gpu, const PlaceboRenderer::Target& target) : gpu_(gpu) {
        pl_opengl_wrap_params params{};
        params.framebuffer = target.framebuffer;
        params.width = target.width;
        params.height = target.height;
        texture_ = pl_opengl_wrap(gpu, &params);
    }
    ~WrappedFramebuffer() { pl_tex_destroy(gpu_, &texture_); }
    WrappedFramebuffer(const WrappedFramebuffer&) = delete;
    WrappedFramebuffer& operator=(const WrappedFramebuffer&) = delete;

    pl_tex texture() const { return texture_; }

  private:
    pl_gpu gpu_;
    pl_tex texture_ = nullptr;
};

/// The mapping of luminances and colours that the screen cannot show: per channel by the curve of
/// ITU-R BT.2390 with a late knee, then clipped. The rules are those of the CPU presenter, so that
/// both show the same colours.
pl_color_map_params colorMapping() {
    pl_color_map_params params = pl_color_map_default_params;
    params.tone_mapping_function = &pl_tone_map_bt2390;
    params.tone_mapping_mode = PL_TONE_MAP_RGB;
    params.tone_mapping_crosstalk = 0;
    params.gamut_mode = PL_GAMUT_CLIP;
    return params;
}

pl_icc_profile profileOver(std::span<const std::uint8_t> bytes) {
    pl_icc_profile profile{};
    if (!bytes.empty()) {
        profile.data = bytes.data();
        profile.len = bytes.size();
        pl_icc_profile_compute_signature(&profile);
    }
    return profile;
}

pl_frame targetFrame(pl_tex texture, const PlaceboRenderer::Target& target,
                     const pl_color_space& color, const pl_icc_profile& profile) {
    pl_frame frame{};
    frame.num_planes = 1;
    frame.planes[0].texture = texture;
    frame.planes[0].flipped = target.isBottomUp;
    frame.planes[0].components = 4;
    for (int i = 0; i < 4; ++i) {
        frame.planes[0].component_mapping[i] = i;
    }
    frame.repr = pl_color_repr_rgb;
    frame.repr.bits = {8, 8, 0};
    frame.color = color;
    frame.profile = profile;
    const auto& place = target.picture;
    frame.crop = {static_cast<float>(place.x), static_cast<float>(place.y),
                  static_cast<float>(place.x + place.width),
                  static_cast<float>(place.y + place.height)};
    return frame;
}

} // namespace

class PlaceboRenderer::Graphics {
  public:
    /// Null parts mean that the context cannot be used.
    explicit Graphics(SoftwareGL softwareGL) : log_(makeLog()) {
        pl_opengl_params params = pl_opengl_default_params;
        params.allow_software = softwareGL == SoftwareGL::allowed;
        // Null in a GLX context, where pictures cannot be imported.
        params.egl_display = eglGetCurrentDisplay();
        params.egl_context = eglGetCurrentContext();
        // Creation fails as expected without a GPU: do not log it.
        pl_log_level_update(log_.get(), PL_LOG_NONE);
        openGL_.reset(pl_opengl_create(log_.get(), &params));
        pl_log_level_update(log_.get(), PL_LOG_WARN);
        if (openGL_ != nullptr) {
            renderer_.reset(pl_renderer_create(log_.get(), gpu()));
            textures_ = std::make_unique<Textures>(gpu());
            importsPictures_ = canImportPictures(gpu());
        }
    }

    bool isUsable() const { return renderer_ != nullptr; }
    void setDisplayProfile(std::vector<std::uint8_t> profile) {
        displayProfile_ = std::move(profile);
    }

    /// Uploads or imports the picture, unless the textures already hold it.
    bool upload(const CVPixelBufferRef& picture) {
        if (picture == uploaded_) {
            return true;
        }
        forgetPicture();
        const auto mapping = placeboFrameMapping(*picture);
        if (!mapping || !(importPlanes(picture, *mapping) || uploadPlanes(*picture, *mapping))) {
            return false;
        }
        image_.repr = mapping->repr;
        image_.color = mapping->color;
        image_.profile = profileOver(mapping->iccProfile);
        pl_frame_set_chroma_location(&image_, mapping->chromaLocation);
        uploaded_ = picture;
        return true;
    }

    bool draw(const Target& target) {
        const WrappedFramebuffer framebuffer(gpu(), target);
        if (framebuffer.texture() == nullptr) {
            return false;
        }
        const pl_frame frame =
            targetFrame(framebuffer.texture(), target, screenColor(), profileOver(displayProfile_));
        pl_frame image = image_;
        const auto width = static_cast<float>(uploaded_->width());
        const auto height = static_cast<float>(uploaded_->height());
        image.crop = {target.isMirrored ? width : 0, 0, target.isMirrored ? 0 : width, height};
        image.rotation = target.quarterTurns;
        pl_render_params params = pl_render_default_params;
        params.color_map_params = &colorMapping_;
        return pl_render_image(renderer_.get(), &image, &frame, &params) &&
               !pl_gpu_is_failed(gpu());
    }

    void clear(const Target& target) {
        const WrappedFramebuffer framebuffer(gpu(), target);
        if (framebuffer.texture() != nullptr) {
            const std::array<float, 4> black{0, 0, 0, 1};
            pl_tex_clear(gpu(), framebuffer.texture(), black.data());
        }
        forgetPicture();
    }

    bool importsPictures() const { return importsPictures_; }

  private:
    pl_gpu gpu() const { return openGL_->gpu; }

    pl_color_space screenColor() const {
        const bool hasProfile = !displayProfile_.empty() || image_.profile.len > 0;
        return hasProfile ? pl_color_space_srgb : screenColorFor(image_.color);
    }

    void forgetPicture() {
        uploaded_ = nullptr;
        imported_ = nullptr;
        image_ = {};
    }

    bool importPlanes(const CVPixelBufferRef& picture, const PlaceboFrameMapping& mapping) {
        if (picture->deviceFrame() == nullptr || !importsPictures_) {
            return false;
        }
        imported_ = ImportedPicture::import(gpu(), picture, mapping);
        if (imported_ == nullptr) {
            logMessage("Failed to import a decoder's frames; copying them instead.");
            importsPictures_ = false;
            return false;
        }
        imported_->setPlanes(image_);
        return true;
    }

    bool uploadPlanes(const CVPixelBuffer& picture, const PlaceboFrameMapping& mapping) {
        if (picture.deviceFrame() != nullptr) {
            const auto inMemory = downloadedPicture(picture);
            const auto mappingInMemory =
                inMemory == nullptr ? std::nullopt : placeboFrameMapping(*inMemory);
            return mappingInMemory && uploadPlanes(*inMemory, *mappingInMemory);
        }
        image_.num_planes = mapping.planeCount;
        for (int i = 0; i < mapping.planeCount; ++i) {
            const auto& data = mapping.planes.at(static_cast<std::size_t>(i));
            if (!pl_upload_plane(gpu(), &image_.planes[i], textures_->at(i), &data)) {
                return false;
            }
        }
        return true;
    }

    Owned<pl_log, pl_log_destroy> log_;
    Owned<pl_opengl, pl_opengl_destroy> openGL_;
    std::unique_ptr<Textures> textures_;
    Owned<pl_renderer, pl_renderer_destroy> renderer_;
    const pl_color_map_params colorMapping_ = colorMapping();
    std::vector<std::uint8_t> displayProfile_;
    bool importsPictures_ = false;
    /// Owns what the image points to.
    CVPixelBufferRef uploaded_;
    std::unique_ptr<ImportedPicture> imported_;
    pl_frame image_{};
};

std::unique_ptr<PlaceboRenderer> PlaceboRenderer::create(SoftwareGL softwareGL) {
    auto graphics = std::make_unique<Graphics>(softwareGL);
    if (!graphics->isUsable()) {
        return nullptr;
    }
    return std::unique_ptr<PlaceboRenderer>(new PlaceboRenderer(std::move(graphics)));
}

PlaceboRenderer::PlaceboRenderer(std::unique_ptr<Graphics> graphics)
    : graphics_(std::move(graphics)) {}

PlaceboRenderer::~PlaceboRenderer() = default;

void PlaceboRenderer::setDisplayProfile(std::vector<std::uint8_t> iccProfile) {
    graphics_->setDisplayProfile(std::move(iccProfile));
}

bool PlaceboRenderer::draw(const CVPixelBufferRef& picture, const Target& target) {
    if (graphics_->upload(picture) && graphics_->draw(target)) {
        return true;
    }
    graphics_->clear(target);
    return false;
}

bool PlaceboRenderer::importsPictures() const {
    return graphics_->importsPictures();
}

void PlaceboRenderer::clear(const Target& target) {
    graphics_->clear(target);
}

} // namespace zelvane

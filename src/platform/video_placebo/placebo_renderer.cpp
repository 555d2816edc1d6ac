// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/video_placebo/placebo_renderer.h"

#include <array>
#include <utility>

#include "foundation/log.h"
#include "platform/video_placebo/placebo_frame_mapping.h"

namespace zelvane {
namespace {

template <auto destroyByAddress>
struct DestroyByAddress {
    template <class Object>
    void operator()(Object* object) const {
        destroyByAddress(&object);
    }
};

template <class Handle, auto destroy>
using Owned = std::unique_ptr<std::remove_pointer_t<Handle>, DestroyByAddress<destroy>>;

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

/// Somebody else's framebuffer, for the time of one drawing.
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

/// How pictures brighter than the screen, or of more colours than it has, are brought into its
/// range: per channel by the curve of ITU-R BT.2390 with a late knee, and what still lies outside
/// is clipped. The rules of the surface that works on the processor, so that a film looks the same
/// on both.
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
                     const pl_icc_profile& profile) {
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
    frame.color = pl_color_space_srgb;
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
        // A refusal is an answer, and no line of the log.
        pl_log_level_update(log_.get(), PL_LOG_NONE);
        openGL_.reset(pl_opengl_create(log_.get(), &params));
        pl_log_level_update(log_.get(), PL_LOG_WARN);
        if (openGL_ != nullptr) {
            renderer_.reset(pl_renderer_create(log_.get(), gpu()));
            textures_ = std::make_unique<Textures>(gpu());
        }
    }

    bool isUsable() const { return renderer_ != nullptr; }
    void setDisplayProfile(std::vector<std::uint8_t> profile) {
        displayProfile_ = std::move(profile);
    }

    /// Brings the picture's samples into textures, unless they are there.
    bool upload(const CVPixelBufferRef& picture) {
        if (picture == uploaded_) {
            return true;
        }
        uploaded_ = nullptr;
        const auto mapping = placeboFrameMapping(*picture);
        if (!mapping || !uploadPlanes(*mapping)) {
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
            targetFrame(framebuffer.texture(), target, profileOver(displayProfile_));
        pl_frame image = image_;
        const auto width = static_cast<float>(uploaded_->width());
        const auto height = static_cast<float>(uploaded_->height());
        image.crop = {target.isMirrored ? width : 0, 0, target.isMirrored ? 0 : width, height};
        image.rotation = target.quarterTurns;
        pl_render_params params = pl_render_default_params;
        params.color_map_params = &colorMapping_;
        return pl_render_image(renderer_.get(), &image, &frame, &params);
    }

    void clear(const Target& target) {
        const WrappedFramebuffer framebuffer(gpu(), target);
        if (framebuffer.texture() != nullptr) {
            const std::array<float, 4> black{0, 0, 0, 1};
            pl_tex_clear(gpu(), framebuffer.texture(), black.data());
        }
        uploaded_ = nullptr;
    }

  private:
    pl_gpu gpu() const { return openGL_->gpu; }

    bool uploadPlanes(const PlaceboFrameMapping& mapping) {
        image_ = {};
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
    /// Keeps what the image points to.
    CVPixelBufferRef uploaded_;
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

void PlaceboRenderer::clear(const Target& target) {
    graphics_->clear(target);
}

} // namespace zelvane

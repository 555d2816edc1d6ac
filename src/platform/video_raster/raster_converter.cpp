// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/video_raster/raster_converter.h"

#include <algorithm>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "core_media/device_picture.h"
#include "foundation/row_bands.h"
#include "platform/video_raster/color_conversion.h"

namespace zelvane {
namespace {

using raster::ColorConversion;
using raster::IccProfile;
using raster::PictureRows;

void check(const CVPixelBuffer& picture, std::size_t targetSize, std::size_t bytesPerRow) {
    if (!PictureRows::canRead(picture)) {
        throw RasterConversionError(
            fmt::format("Pictures of format {:#x} cannot be drawn.", picture.pixelFormat()));
    }
    const auto rows = static_cast<std::size_t>(picture.height());
    if (bytesPerRow < static_cast<std::size_t>(picture.width()) * 4 ||
        targetSize / bytesPerRow < rows) {
        throw RasterConversionError("The target is smaller than the picture.");
    }
}

/// More would wait for memory.
constexpr int kMostWorkers = 4;
/// This is some tenths of a millisecond of work; waking a helper takes some hundredths.
constexpr int kPixelsPerBand = 1 << 16;

int workerCount(int processors) {
    const int all = static_cast<int>(std::thread::hardware_concurrency());
    return std::clamp(processors > 0 ? processors : all, 1, kMostWorkers);
}

} // namespace

class RasterConverter::Tables {
  public:
    Tables(DisplayColor display, int processors)
        : display_(std::move(display)), displayProfile_(IccProfile::read(display_.iccProfile)),
          workers_(static_cast<std::size_t>(workerCount(processors))) {}

    const DisplayColor& display() const { return display_; }

    void convert(const CVPixelBuffer& picture, std::uint8_t* target, std::size_t bytesPerRow) {
        const auto& conversion = conversionFor(picture);
        const bool isCopied =
            picture.pixelFormat() == kCVPixelFormatType_32BGRA && conversion.keepsBytes();
        const auto width = static_cast<std::size_t>(picture.width());
        const auto convertBand = [&](const RowBand& band) {
            auto& worker = workers_[static_cast<std::size_t>(band.worker)];
            worker.rows.open(picture);
            for (int row = band.first; row < band.end; ++row) {
                auto* pixels = target + bytesPerRow * static_cast<std::size_t>(row);
                if (isCopied) {
                    raster::kernels::copyOpaque(worker.rows.bytesOf(row), pixels, width);
                } else {
                    conversion.convertRow(worker.rows.read(row), width, pixels, worker.scratch);
                }
            }
        };
        forEachBand(picture.height(), std::max(1, kPixelsPerBand / picture.width()),
                    static_cast<int>(workers_.size()), convertBand);
    }

  private:
    /// The state of one thread.
    struct Worker {
        PictureRows rows;
        ColorConversion::Scratch scratch;
    };

    /// Caches the conversion of the last picture's kind: a film's pictures are of one kind.
    const ColorConversion& conversionFor(const CVPixelBuffer& picture) {
        auto source = raster::sourceColorOf(picture);
        if (!conversion_ || picture.pixelFormat() != pixelFormat_ || source != source_) {
            source_ = std::move(source);
            pixelFormat_ = picture.pixelFormat();
            conversion_.emplace(source_, PictureRows::scaleOf(pixelFormat_), displayProfile_);
        }
        return *conversion_;
    }

    DisplayColor display_;
    std::shared_ptr<const IccProfile> displayProfile_;
    std::vector<Worker> workers_;
    raster::SourceColor source_;
    OSType pixelFormat_ = 0;
    std::optional<ColorConversion> conversion_;
};

RasterConverter::RasterConverter(DisplayColor display, int processors)
    : tables_(std::make_unique<Tables>(std::move(display), processors)) {}

RasterConverter::~RasterConverter() = default;

const DisplayColor& RasterConverter::display() const {
    return tables_->display();
}

void RasterConverter::convert(const CVPixelBuffer& picture, std::span<std::uint8_t> target,
                              std::size_t bytesPerRow) {
    if (picture.deviceFrame() != nullptr) {
        const auto inMemory = downloadedPicture(picture);
        if (inMemory == nullptr) {
            throw RasterConversionError("The device does not give its frame away.");
        }
        convert(*inMemory, target, bytesPerRow);
        return;
    }
    check(picture, target.size(), bytesPerRow);
    tables_->convert(picture, target.data(), bytesPerRow);
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "player_window/raster_picture_maker.h"

#include <mutex>
#include <utility>
#include <vector>

#include "foundation/log.h"

namespace zelvane {

/// Unused images of one size.
class RasterPictureMaker::Images : public std::enable_shared_from_this<Images> {
  public:
    std::shared_ptr<QImage> take(int width, int height) {
        auto image = takeFree(QSize(width, height));
        if (image == nullptr) {
            image = std::make_unique<QImage>(width, height, QImage::Format_RGB32);
        }
        return {image.release(), [images = weak_from_this()](QImage* returned) {
                    std::unique_ptr<QImage> owned(returned);
                    if (const auto found = images.lock()) {
                        found->giveBack(std::move(owned));
                    }
                }};
    }

  private:
    std::unique_ptr<QImage> takeFree(QSize size) {
        const std::lock_guard guard(mutex_);
        if (size != size_) {
            free_.clear();
            size_ = size;
        }
        if (free_.empty()) {
            return nullptr;
        }
        auto image = std::move(free_.back());
        free_.pop_back();
        return image;
    }

    void giveBack(std::unique_ptr<QImage> image) {
        const std::lock_guard guard(mutex_);
        if (image->size() == size_) {
            free_.push_back(std::move(image));
        }
    }

    std::mutex mutex_;
    QSize size_;
    std::vector<std::unique_ptr<QImage>> free_;
};

RasterPictureMaker::RasterPictureMaker(DisplayColor display)
    : newDisplay_(std::move(display)), images_(std::make_shared<Images>()) {}

void RasterPictureMaker::setDisplay(DisplayColor display) {
    const std::lock_guard guard(displayMutex_);
    newDisplay_ = std::move(display);
}

RasterConverter& RasterPictureMaker::converter() {
    const std::lock_guard guard(displayMutex_);
    if (newDisplay_) {
        converter_.emplace(*std::exchange(newDisplay_, std::nullopt));
    }
    return *converter_;
}

std::shared_ptr<const QImage> RasterPictureMaker::make(const PresentedFrame& frame) {
    const auto& buffer = *frame.pixelBuffer;
    auto image = images_->take(buffer.width(), buffer.height());
    if (image->isNull()) {
        return nullptr;
    }
    try {
        converter().convert(buffer, {image->bits(), static_cast<std::size_t>(image->sizeInBytes())},
                            static_cast<std::size_t>(image->bytesPerLine()));
    } catch (const RasterConversionError& error) {
        // One line is enough: later frames of the track fail in the same way.
        if (!std::exchange(didLogFailure_, true)) {
            logMessage("Failed to convert a frame for display: {}.", error.what());
        }
        return nullptr;
    }
    return image;
}

} // namespace zelvane

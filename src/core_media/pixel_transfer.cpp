// SPDX-License-Identifier: GPL-3.0-or-later
#include "core_media/pixel_transfer.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "core_media/ycbcr_matrix.h"

namespace zelvane {
namespace {

/// From code values of 8 bits to R'G'B' between 0 and 1.
struct Conversion {
    Conversion(const LumaWeights& weights, bool isFullRange) {
        const double green = 1 - weights.red - weights.blue;
        const double chromaScale = 1 / (isFullRange ? 255.0 : 224.0);
        lumaOffset = isFullRange ? 0 : 16;
        luma = static_cast<float>(1 / (isFullRange ? 255.0 : 219.0));
        redOfCr = static_cast<float>(2 * (1 - weights.red) * chromaScale);
        blueOfCb = static_cast<float>(2 * (1 - weights.blue) * chromaScale);
        greenOfCr = static_cast<float>(-redOfCr * weights.red / green);
        greenOfCb = static_cast<float>(-blueOfCb * weights.blue / green);
    }

    float lumaOffset;
    float luma;
    float redOfCr;
    float blueOfCb;
    float greenOfCr;
    float greenOfCb;
};

/// A row of chroma, both components interleaved, scaled to the width and the height of luma.
class ChromaRow {
  public:
    ChromaRow(const CVPixelBuffer::Plane& plane, int width)
        : plane_(plane), between_(static_cast<std::size_t>(plane.width) * 2),
          full_(static_cast<std::size_t>(width) * 2) {}

    /// Cb and Cr of each pixel of luma row `y`, less the value for grey.
    const std::vector<float>& values(int y) {
        interpolateRows(y);
        const int last = plane_.width - 1;
        const int pixelCount = static_cast<int>(full_.size() / 2);
        for (int x = 0; x < pixelCount; ++x) {
            const int left = x / 2;
            const int right = std::min(left + x % 2, last);
            for (int component = 0; component < 2; ++component) {
                full_[2 * x + component] =
                    (between_[2 * left + component] + between_[2 * right + component]) / 2 - 128;
            }
        }
        return full_;
    }

  private:
    const std::uint8_t* row(int index) const {
        return plane_.baseAddress + std::clamp(index, 0, plane_.height - 1) * plane_.bytesPerRow;
    }

    /// A chroma row is a quarter of the row distance away from each of its two luma rows.
    void interpolateRows(int y) {
        const auto* nearest = row(y / 2);
        const auto* other = row(y % 2 == 0 ? y / 2 - 1 : y / 2 + 1);
        for (std::size_t i = 0; i < between_.size(); ++i) {
            between_[i] = 0.75F * nearest[i] + 0.25F * other[i];
        }
    }

    const CVPixelBuffer::Plane& plane_;
    std::vector<float> between_;
    std::vector<float> full_;
};

struct RGB {
    float red;
    float green;
    float blue;
};

RGB rgb(const Conversion& conversion, std::uint8_t luma, float cb, float cr) {
    const float y = (static_cast<float>(luma) - conversion.lumaOffset) * conversion.luma;
    return {y + conversion.redOfCr * cr, y + conversion.greenOfCb * cb + conversion.greenOfCr * cr,
            y + conversion.blueOfCb * cb};
}

template <class Code>
Code code(float value) {
    constexpr float kMax = static_cast<float>(static_cast<Code>(~Code{0}));
    return static_cast<Code>(std::lrint(std::clamp(value, 0.0F, 1.0F) * kMax));
}

void storeBGRA(const RGB& color, std::uint8_t* pixel) {
    pixel[0] = code<std::uint8_t>(color.blue);
    pixel[1] = code<std::uint8_t>(color.green);
    pixel[2] = code<std::uint8_t>(color.red);
    pixel[3] = 0xff;
}

void storeB64A(const RGB& color, std::uint8_t* pixel) {
    pixel[0] = pixel[1] = 0xff;
    for (const float value : {color.red, color.green, color.blue}) {
        pixel += 2;
        const auto coded = code<std::uint16_t>(value);
        pixel[0] = static_cast<std::uint8_t>(coded >> 8);
        pixel[1] = static_cast<std::uint8_t>(coded);
    }
}

template <int bytesPerPixel, void (*store)(const RGB&, std::uint8_t*)>
void transfer(const CVPixelBuffer& source, const CVPixelBuffer& destination,
              const Conversion& conversion) {
    const auto& luma = source.plane(0);
    const auto& pixels = destination.plane(0);
    ChromaRow chromaRow(source.plane(1), source.width());
    for (int y = 0; y < source.height(); ++y) {
        const auto* lumaRow = luma.baseAddress + y * luma.bytesPerRow;
        auto* pixel = pixels.baseAddress + y * pixels.bytesPerRow;
        const auto& chroma = chromaRow.values(y);
        for (int x = 0; x < source.width(); ++x, pixel += bytesPerPixel) {
            store(rgb(conversion, lumaRow[x], chroma[2 * x], chroma[2 * x + 1]), pixel);
        }
    }
}

bool canTransferFrom(OSType pixelFormat) {
    return pixelFormat == kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange ||
           pixelFormat == kCVPixelFormatType_420YpCbCr8BiPlanarFullRange;
}

bool canTransferTo(OSType pixelFormat) {
    return pixelFormat == kCVPixelFormatType_32BGRA || pixelFormat == kCVPixelFormatType_64ARGB;
}

} // namespace

void PixelTransferSession::transferImage(const CVPixelBuffer& source,
                                         CVPixelBuffer& destination) const {
    const bool isPossible =
        canTransferFrom(source.pixelFormat()) && canTransferTo(destination.pixelFormat()) &&
        source.width() == destination.width() && source.height() == destination.height() &&
        source.deviceFrame() == nullptr && destination.deviceFrame() == nullptr;
    if (!isPossible) {
        throwDarwinError(kVTPixelTransferNotSupportedErr);
    }
    const Conversion conversion(lumaWeights(yCbCrMatrixOf(source)),
                                source.pixelFormat() ==
                                    kCVPixelFormatType_420YpCbCr8BiPlanarFullRange);
    if (destination.pixelFormat() == kCVPixelFormatType_32BGRA) {
        transfer<4, storeBGRA>(source, destination, conversion);
    } else {
        transfer<8, storeB64A>(source, destination, conversion);
    }
}

} // namespace zelvane

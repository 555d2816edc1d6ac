// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

#include "core_media/cv_pixel_buffer.h"

namespace zelvane {

/// The share of red and of blue in luma; green has the rest.
struct LumaWeights {
    double red = 0;
    double blue = 0;
    friend bool operator==(const LumaWeights&, const LumaWeights&) = default;
};

/// The Y'CBCR matrices that pictures are drawn with.
enum class YCbCrMatrix { bt601, bt709, smpte240M, bt2020 };

/// The weights of ITU-R BT.601-7, BT.709-6, SMPTE 240M and ITU-R BT.2020-2.
constexpr LumaWeights lumaWeights(YCbCrMatrix matrix) {
    switch (matrix) {
    case YCbCrMatrix::bt601:
        return {0.299, 0.114};
    case YCbCrMatrix::smpte240M:
        return {0.212, 0.087};
    case YCbCrMatrix::bt2020:
        return {0.2627, 0.0593};
    case YCbCrMatrix::bt709:
        break;
    }
    return {0.2126, 0.0722};
}

/// The attachment value of the matrix of a Y'CBCR picture: the one that it states, else the one of
/// its primaries, else the usual one for its size. `matrix` and `primaries` are attachment values,
/// or empty.
std::string_view yCbCrMatrixName(std::string_view matrix, std::string_view primaries, int width,
                                 int height);

/// The matrix of a Y'CBCR picture, by the same rule, from its attachments. All presenters and
/// converters use it, so that they show the same colours.
YCbCrMatrix yCbCrMatrixOf(const CVPixelBuffer& picture);

} // namespace zelvane

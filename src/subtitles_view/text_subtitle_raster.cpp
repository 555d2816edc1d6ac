// SPDX-License-Identifier: GPL-3.0-or-later
#include "subtitles_view/text_subtitle_raster.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include <QPainter>

#include "subtitles_view/mask_blur.h"
#include "subtitles_view/outline_raster.h"
#include "subtitles_view/subtitle_colors.h"
#include "subtitles_view/text_shapes.h"

namespace zelvane {
namespace {

/// The colour of a shadow that states none.
constexpr SRGBColor kDefaultShadowColor{0, 0, 0, 1.0 / 3.0};
/// A wider blur makes letters invisible.
constexpr double kMaximumBlurDeviation = 200;

/// The limit of the letters' area, as a multiple of the picture's.
constexpr double kMaximumCoverings = 32;

SRGBColor foreground(const StringAttributes& attributes) {
    return attributes.foregroundColor.value_or(kBlackColor);
}

/// Rounds to the nearest pixels, so that adjacent rectangles do not overlap.
QRect nearestPixels(const QRectF& rect) {
    const auto edge = [](double value) {
        return static_cast<int>(std::lround(std::clamp(value, -1e6, 1e6)));
    };
    const int left = edge(rect.left());
    const int top = edge(rect.top());
    return {left, top, edge(rect.right()) - left, edge(rect.bottom()) - top};
}

/// The pixels of `picture` that the rectangle, which may exceed the range of integers, touches.
QRect pixelsTouched(const QRectF& rect, const QRect& picture) {
    return (rect & QRectF(picture)).toAlignedRect() & picture;
}

QRect areaOf(const TextSubtitleRaster& canvas) {
    return {canvas.origin, canvas.image.size()};
}

TextSubtitleRaster clearCanvas(const QRect& area, QImage::Format format) {
    TextSubtitleRaster canvas{QImage(area.size(), format), area.topLeft()};
    canvas.image.fill(Qt::transparent);
    return canvas;
}

/// Draws the parts of one shape, moved by an offset.
class ShapePen {
  public:
    ShapePen(const TextShape& shape, QPointF offset, TextSubtitleRaster& canvas)
        : shape_(shape), attributes_(*shape.attributes), offset_(offset), canvas_(canvas),
          area_(pixelsTouched(shape.reach.translated(offset), areaOf(canvas))) {}

    /// The outlines of the letters.
    void drawStroke() {
        if (hasStroke()) {
            drawLetters(showsOnlyBody() ? &DrawnGlyph::body : &DrawnGlyph::stroke, strokeColor());
        }
    }

    /// The letters, and the lines under and through them.
    void drawFill() {
        drawLine(shape_.underline, attributes_.underlineColor.value_or(fillColor()));
        if (isFilled() && isVisible(fillColor())) {
            drawLetters(&DrawnGlyph::letter, fillColor());
        }
        drawRest();
    }

    /// Draws the whole as one, when only its shape counts.
    void drawShape() {
        drawStroke();
        if (hasStroke() && strokeColor().alpha >= 1 && showsOnlyBody()) {
            drawLine(shape_.underline, attributes_.underlineColor.value_or(fillColor()));
            drawRest();
        } else {
            drawFill();
        }
    }

  private:
    SRGBColor fillColor() const { return foreground(attributes_); }
    SRGBColor strokeColor() const { return attributes_.strokeColor.value_or(fillColor()); }
    bool isVisible(const SRGBColor& color) const { return color.alpha > 0 && !area_.isEmpty(); }
    bool hasStroke() const {
        return attributes_.strokeWidth.value_or(0) != 0 && isVisible(strokeColor());
    }
    /// A width above 0 means hollow letters.
    bool isFilled() const { return !(attributes_.strokeWidth.value_or(0) > 0); }
    /// The letters hide the inner part.
    bool showsOnlyBody() const {
        return isFilled() && fillColor().alpha >= 1 &&
               std::all_of(shape_.glyphs.begin(), shape_.glyphs.end(),
                           [](const PlacedGlyph& placed) { return placed.glyph->hasBody(); });
    }

    void drawRest() {
        drawPictures(fillColor().alpha);
        drawLine(shape_.strikethrough, attributes_.strikethroughColor.value_or(fillColor()));
    }

    void drawLetters(Outline DrawnGlyph::*part, const SRGBColor& color) {
        Coverage coverage(area_);
        for (const PlacedGlyph& glyph : shape_.glyphs) {
            coverage.add(*glyph.glyph.*part, glyph.position + offset_);
        }
        coverage.draw(color, canvas_.image, canvas_.origin);
    }

    void drawLine(const Outline& line, const SRGBColor& color) {
        const QRect area = pixelsTouched(line.bounds().translated(offset_), area_);
        if (!area.isEmpty() && isVisible(color)) {
            Coverage coverage(area);
            coverage.add(line, offset_);
            coverage.draw(color, canvas_.image, canvas_.origin);
        }
    }

    /// At whole pixels, as the letters were drawn.
    void drawPictures(double opacity) {
        const bool hasPictures =
            std::any_of(shape_.glyphs.begin(), shape_.glyphs.end(),
                        [](const PlacedGlyph& placed) { return !placed.glyph->picture.isNull(); });
        if (!hasPictures) {
            return;
        }
        QPainter painter(&canvas_.image);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.setOpacity(opacity);
        for (const PlacedGlyph& placed : shape_.glyphs) {
            const QPointF position = placed.position + offset_ - canvas_.origin;
            painter.drawImage(placed.glyph->pictureRect.translated(position.toPoint()),
                              placed.glyph->picture);
        }
    }

    const TextShape& shape_;
    const StringAttributes& attributes_;
    const QPointF offset_;
    TextSubtitleRaster& canvas_;
    const QRect area_;
};

/// A run's background on one line.
struct Background {
    QRect rect;
    QColor color;
};

/// A shadow and the shapes that cast it. It is one shape: it is not darker where letters overlap.
struct Shadow {
    TextShadow look;
    QPointF offset;
    double deviation = 0;
    std::vector<const TextShape*> shapes;

    int reachOfBlur() const { return blurReach(deviation) + 1; }

    QRectF reach() const {
        QRectF result;
        for (const TextShape* shape : shapes) {
            result |= shape->reach;
        }
        const int more = reachOfBlur();
        return result.translated(offset).adjusted(-more, -more, more, more);
    }
};

/// Draws one subtitle.
class Drawing {
  public:
    Drawing(const TextBlock& block, const TextSubtitlePlace& place)
        : place_(place), picture_(QPoint(), place.pictureSize), budget_(fullBudget()) {
        for (const TextLine& line : block.lines) {
            addLine(line, block.unitsPerPixel);
        }
        addShadows();
    }

    TextSubtitleRaster draw() const {
        const QRect reach = this->reach();
        if (reach.isEmpty()) {
            return {};
        }
        TextSubtitleRaster canvas = clearCanvas(reach, QImage::Format_ARGB32_Premultiplied);
        drawGround(canvas);
        InkBudget budget = fullBudget();
        for (const Shadow& shadow : shadows_) {
            if (budget.spend(shadow.reach())) {
                drawShadow(shadow, canvas);
            }
        }
        for (const TextShape& shape : shapes_) {
            ShapePen(shape, {}, canvas).drawStroke();
        }
        for (const TextShape& shape : shapes_) {
            ShapePen(shape, {}, canvas).drawFill();
        }
        return canvas;
    }

  private:
    InkBudget fullBudget() const {
        return {picture_, kMaximumCoverings * picture_.width() * picture_.height()};
    }

    void addLine(const TextLine& line, double unitsPerPixel) {
        const QPointF origin = place_.origin + place_.unit * QPointF(line.left, line.top);
        const double scale = place_.unit * unitsPerPixel;
        TextShapeSizes sizes;
        sizes.toPicture =
            QTransform(scale, 0, 0, scale, origin.x(), origin.y() + line.baseline * place_.unit);
        sizes.unit = place_.unit;
        sizes.maximumFontSize = place_.maximumFontSize;
        for (const TextSegment& segment : line.segments) {
            addBackground(*segment.attributes,
                          QRectF(origin.x() + segment.left * place_.unit, origin.y(),
                                 segment.width * place_.unit, line.height * place_.unit));
            shapes_.push_back(makeTextShape(segment, sizes, budget_));
        }
    }

    void addBackground(const StringAttributes& attributes, const QRectF& rect) {
        const auto& color = attributes.backgroundColor;
        if (color && color->alpha > 0) {
            backgrounds_.push_back({nearestPixels(rect) & picture_, qColor(*color)});
        }
    }

    void addShadows() {
        for (const TextShape& shape : shapes_) {
            if (shape.attributes->shadow) {
                shadowOf(*shape.attributes->shadow).shapes.push_back(&shape);
            }
        }
    }

    Shadow& shadowOf(const TextShadow& look) {
        const auto known = std::find_if(shadows_.begin(), shadows_.end(),
                                        [&](const Shadow& shadow) { return shadow.look == look; });
        if (known != shadows_.end()) {
            return *known;
        }
        const double deviation = look.blurRadius * place_.blurUnit / 2;
        const auto finite = [](double value) { return std::isfinite(value) ? value : 0; };
        return shadows_.emplace_back(
            Shadow{look,
                   place_.unit * QPointF(finite(look.offset.width), -finite(look.offset.height)),
                   deviation > 0 ? std::min(deviation, kMaximumBlurDeviation) : 0,
                   {}});
    }

    QRect reach() const {
        QRect result;
        if (place_.boxColor.alpha > 0) {
            result |= nearestPixels(place_.box) & picture_;
        }
        for (const Background& background : backgrounds_) {
            result |= background.rect;
        }
        for (const Shadow& shadow : shadows_) {
            result |= pixelsTouched(shadow.reach(), picture_);
        }
        for (const TextShape& shape : shapes_) {
            result |= pixelsTouched(shape.reach, picture_);
        }
        return result;
    }

    void drawGround(TextSubtitleRaster& canvas) const {
        QPainter painter(&canvas.image);
        painter.translate(-canvas.origin);
        if (place_.boxColor.alpha > 0) {
            drawBox(painter);
        }
        for (const Background& background : backgrounds_) {
            painter.fillRect(background.rect, background.color);
        }
    }

    void drawBox(QPainter& painter) const {
        const QRect box = nearestPixels(place_.box);
        const double radius = place_.boxCornerRadius;
        if (!(radius > 0)) {
            painter.fillRect(box, qColor(place_.boxColor));
            return;
        }
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(qColor(place_.boxColor));
        painter.drawRoundedRect(box, radius, radius);
    }

    /// The visible part of a shape, and the part within the blur's distance, is drawn as a mask,
    /// since only its alpha casts a shadow.
    void drawShadow(const Shadow& shadow, TextSubtitleRaster& canvas) const {
        const int beyond = shadow.reachOfBlur();
        const QRect around = areaOf(canvas).adjusted(-beyond, -beyond, beyond, beyond);
        const QRect area = pixelsTouched(shadow.reach(), around);
        if (area.isEmpty()) {
            return;
        }
        TextSubtitleRaster caster = clearCanvas(area, QImage::Format_Alpha8);
        for (const TextShape* shape : shadow.shapes) {
            ShapePen(*shape, shadow.offset, caster).drawShape();
        }
        QImage& mask = caster.image;
        blurMask({mask.bits(), static_cast<std::size_t>(mask.sizeInBytes())}, mask.width(),
                 mask.height(), static_cast<std::size_t>(mask.bytesPerLine()), shadow.deviation);
        drawThrough(mask, area.topLeft(), shadow.look.color.value_or(kDefaultShadowColor),
                    canvas.image, canvas.origin);
    }

    const TextSubtitlePlace& place_;
    const QRect picture_;
    InkBudget budget_;
    std::vector<Background> backgrounds_;
    std::vector<TextShape> shapes_;
    std::vector<Shadow> shadows_;
};

} // namespace

TextSubtitleRaster drawTextSubtitle(const TextBlock& block, const TextSubtitlePlace& place) {
    return Drawing(block, place).draw();
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/subtitles_view/text_subtitle_raster.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include <QPainter>

#include "media_player/subtitles_view/mask_blur.h"
#include "media_player/subtitles_view/text_shapes.h"

namespace zelvane {
namespace {

/// Of a shadow that does not state its colour.
constexpr SRGBColor kDefaultShadowColor{0, 0, 0, 1.0 / 3.0};
/// A blur this wide leaves nothing to be seen of letters.
constexpr double kMaximumBlurDeviation = 200;

/// A run's background on one line, on whole pixels, so that neighbours meet and do not overlap.
struct Background {
    QRect rect;
    QColor color;
};

/// A shadow and those that cast it. Its shape is one: where letters are close, it is no darker.
struct Shadow {
    TextShadow look;
    QPointF offset;
    double deviation = 0;
    std::vector<const TextShape*> shapes;

    int reach() const { return blurReach(deviation) + 1; }
};

QRect pixels(const QRectF& rect) {
    const auto edge = [](double value) {
        return static_cast<int>(std::lround(std::clamp(value, -1e6, 1e6)));
    };
    const int left = edge(rect.left());
    const int top = edge(rect.top());
    return {left, top, edge(rect.right()) - left, edge(rect.bottom()) - top};
}

QRect pixelsTouched(const QRectF& rect, const QRect& picture) {
    // Intersected first: a rectangle of whole numbers has no room for what letters may reach.
    return (rect & QRectF(picture)).toAlignedRect() & picture;
}

/// Draws one subtitle.
class Drawing {
  public:
    Drawing(const TextBlock& block, const TextSubtitlePlace& place)
        : place_(place), picture_(QPoint(), place.pictureSize) {
        shapes_.reserve(block.lines.size());
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
        QImage image(reach.size(), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.translate(-reach.topLeft());
        painter.setPen(Qt::NoPen);
        drawBox(painter);
        for (const Background& background : backgrounds_) {
            painter.fillRect(background.rect, background.color);
        }
        painter.setRenderHint(QPainter::Antialiasing);
        for (const Shadow& shadow : shadows_) {
            drawShadow(painter, shadow, reach);
        }
        for (const TextShape& shape : shapes_) {
            shape.drawStroke(painter);
        }
        for (const TextShape& shape : shapes_) {
            shape.drawFill(painter);
        }
        painter.end();
        return {image, reach.topLeft()};
    }

  private:
    void addLine(const TextLine& line, double unitsPerPixel) {
        const QPointF origin = place_.origin + place_.unit * QPointF(line.left, line.top);
        const double scale = place_.unit * unitsPerPixel;
        const QTransform toPicture(scale, 0, 0, scale, origin.x(),
                                   origin.y() + line.baseline * place_.unit);
        const double longest = std::hypot(picture_.width(), picture_.height());
        for (const TextSegment& segment : line.segments) {
            addBackground(segment, QRectF(origin.x() + segment.left * place_.unit, origin.y(),
                                          segment.width * place_.unit, line.height * place_.unit));
            shapes_.emplace_back(segment, toPicture, place_.unit,
                                 TextShapeLimits{place_.maximumFontSize, longest});
        }
    }

    void addBackground(const TextSegment& segment, const QRectF& rect) {
        const auto& color = segment.attributes->backgroundColor;
        if (color && color->alpha > 0) {
            backgrounds_.push_back({pixels(rect) & picture_, qColor(*color)});
        }
    }

    void addShadows() {
        for (const TextShape& shape : shapes_) {
            const auto& look = shape.attributes().shadow;
            if (!look) {
                continue;
            }
            const auto known = std::find_if(shadows_.begin(), shadows_.end(),
                                            [&](const Shadow& s) { return s.look == *look; });
            Shadow& shadow = known == shadows_.end() ? shadows_.emplace_back(made(*look)) : *known;
            shadow.shapes.push_back(&shape);
        }
    }

    Shadow made(const TextShadow& look) const {
        const double deviation = look.blurRadius * place_.blurUnit / 2;
        return {look,
                place_.unit * QPointF(look.offset.width, -look.offset.height),
                deviation > 0 ? std::min(deviation, kMaximumBlurDeviation) : 0,
                {}};
    }

    QRectF reachOf(const Shadow& shadow) const {
        QRectF result;
        for (const TextShape* shape : shadow.shapes) {
            result |= shape->reach();
        }
        const int more = shadow.reach();
        return result.translated(shadow.offset).adjusted(-more, -more, more, more);
    }

    QRect reach() const {
        QRect result;
        if (place_.boxColor.alpha > 0) {
            result |= pixels(place_.box) & picture_;
        }
        for (const Background& background : backgrounds_) {
            result |= background.rect;
        }
        for (const Shadow& shadow : shadows_) {
            result |= pixelsTouched(reachOf(shadow), picture_);
        }
        for (const TextShape& shape : shapes_) {
            result |= pixelsTouched(shape.reach(), picture_);
        }
        return result;
    }

    void drawBox(QPainter& painter) const {
        if (!(place_.boxColor.alpha > 0)) {
            return;
        }
        const QRect box = pixels(place_.box);
        const double radius = place_.boxCornerRadius;
        if (!(radius > 0)) {
            painter.fillRect(box, qColor(place_.boxColor));
            return;
        }
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setBrush(qColor(place_.boxColor));
        painter.drawRoundedRect(box, radius, radius);
        painter.restore();
    }

    /// The part of the shadow that falls into `visible` is drawn as a mask, with what lies a blur
    /// beyond it.
    void drawShadow(QPainter& painter, const Shadow& shadow, const QRect& visible) const {
        const int beyond = shadow.reach();
        const QRect around = visible.adjusted(-beyond, -beyond, beyond, beyond);
        const QRect area = pixelsTouched(reachOf(shadow), around);
        if (area.isEmpty()) {
            return;
        }
        QImage mask = maskOf(shadow, area);
        blurMask({mask.bits(), static_cast<std::size_t>(mask.sizeInBytes())}, mask.width(),
                 mask.height(), static_cast<std::size_t>(mask.bytesPerLine()), shadow.deviation);
        painter.drawImage(area.topLeft(),
                          tinted(mask, shadow.look.color.value_or(kDefaultShadowColor)));
    }

    static QImage maskOf(const Shadow& shadow, const QRect& area) {
        QImage mask(area.size(), QImage::Format_Alpha8);
        mask.fill(Qt::transparent);
        QPainter painter(&mask);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.translate(shadow.offset - area.topLeft());
        for (const TextShape* shape : shadow.shapes) {
            shape->drawStroke(painter);
            shape->drawFill(painter);
        }
        return mask;
    }

    static QImage tinted(const QImage& mask, const SRGBColor& color) {
        QList<QRgb> premultiplied(256);
        for (int i = 0; i < 256; ++i) {
            premultiplied[i] = qPremultiply(qColor(color.withAlpha(color.alpha * i / 255)).rgba());
        }
        QImage result(mask.size(), QImage::Format_ARGB32_Premultiplied);
        for (int y = 0; y < mask.height(); ++y) {
            const uchar* from = mask.constScanLine(y);
            auto* to = reinterpret_cast<QRgb*>(result.scanLine(y));
            std::transform(from, from + mask.width(), to,
                           [&](uchar coverage) { return premultiplied[coverage]; });
        }
        return result;
    }

    const TextSubtitlePlace& place_;
    const QRect picture_;
    std::vector<Background> backgrounds_;
    std::vector<TextShape> shapes_;
    std::vector<Shadow> shadows_;
};

} // namespace

TextSubtitleRaster drawTextSubtitle(const TextBlock& block, const TextSubtitlePlace& place) {
    return Drawing(block, place).draw();
}

} // namespace zelvane

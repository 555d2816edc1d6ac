// SPDX-License-Identifier: GPL-3.0-or-later
#include "subtitles_view/glyph_cache.h"

#include <algorithm>
#include <cmath>

#include <QGlyphRun>
#include <QPainter>
#include <QPainterPath>
#include <QPainterPathStroker>
#include <QTransform>
#include <QtEndian>

namespace zelvane {
namespace {

/// About a thousand letters, or a hundred emoji.
constexpr std::size_t kMaximumSize = 6U << 20U;
/// The number of cached fonts, which stay open.
constexpr std::size_t kMaximumFaceCount = 32;
/// Of OpenType's table "OS/2".
constexpr qsizetype kWeightClassOffset = 4;
constexpr int kSemiBold = 600;
/// The precision of a pen's edges, in pixels.
constexpr double kPenFlatness = 0.1;
/// The pen that makes letters bold, in ems.
constexpr double kBoldPenWidth = 1.0 / 24;
/// In ems. The edges of wider pens intersect each other, so that none is a boundary.
constexpr double kWidestPenOfBody = 1.0 / 8;
/// About half the size of fonts' pictures, in pixels to the em.
constexpr double kMaximumPictureSize = 256;

bool hasTable(const QRawFont& font, const char* name) {
    return !font.fontTable(name).isEmpty();
}

/// Checks the tables that locate the pictures: those that contain them have megabytes.
bool hasPictures(const QRawFont& font) {
    return hasTable(font, "CBLC") || hasTable(font, "sbix");
}

/// Whether its letters are bold, whatever was requested. Variable faces report one weight and draw
/// another.
bool isBoldFace(const QRawFont& font) {
    const QByteArray table = font.fontTable("OS/2");
    return table.size() < kWeightClassOffset + 2 || hasTable(font, "fvar") ||
           qFromBigEndian<quint16>(table.constData() + kWeightClassOffset) >= kSemiBold;
}

QPainterPath stroked(const QPainterPath& letter, double penWidth, Qt::PenJoinStyle join) {
    QPainterPathStroker stroker;
    stroker.setWidth(penWidth);
    stroker.setJoinStyle(join);
    stroker.setCurveThreshold(kPenFlatness);
    return stroker.createStroke(letter);
}

double signedArea(const Outline& outline) {
    double sum = 0;
    outline.forEachLine(
        [&](QPointF from, QPointF to) { sum += from.x() * to.y() - to.x() * from.y(); });
    return sum / 2;
}

/// The letter with the area of a pen along its edge.
QPainterPath madeBold(const QPainterPath& letter, double penWidth) {
    QPainterPath result = stroked(letter, penWidth, Qt::MiterJoin);
    // Areas of opposite directions would cancel each other.
    const bool runAlike = signedArea(Outline(letter)) * signedArea(Outline(result)) >= 0;
    result.addPath(runAlike ? letter : letter.toReversed());
    result.setFillRule(Qt::WindingFill);
    return result.simplified();
}

/// A closed piece of a path.
struct Contour {
    QPainterPath path;
    double area = 0;
};

std::vector<Contour> contoursOf(const QPainterPath& path) {
    std::vector<Contour> contours;
    for (int i = 0; i < path.elementCount(); ++i) {
        const QPainterPath::Element element = path.elementAt(i);
        if (element.isMoveTo()) {
            contours.emplace_back().path.moveTo(element);
        } else if (element.isCurveTo() && i + 2 < path.elementCount()) {
            contours.back().path.cubicTo(element, path.elementAt(i + 1), path.elementAt(i + 2));
            i += 2;
        } else {
            contours.back().path.lineTo(element);
        }
    }
    for (Contour& contour : contours) {
        contour.area = signedArea(Outline(contour.path));
    }
    return contours;
}

/// Whether its direction is opposite to that of the outermost piece around it.
bool isHole(const Contour& contour, const std::vector<Contour>& all) {
    const QRectF bounds = contour.path.controlPointRect();
    const Contour* outermost = &contour;
    for (const Contour& other : all) {
        if (std::abs(other.area) > std::abs(outermost->area) &&
            other.path.controlPointRect().contains(bounds)) {
            outermost = &other;
        }
    }
    return outermost->area * contour.area < 0;
}

/// A pen draws an edge on each side of a contour. Only the one away from the letter bounds the
/// body: around a hole it is the shorter one. None if that cannot be determined.
Outline bodyOf(const QPainterPath& letter, const QPainterPath& stroke) {
    const std::vector<Contour> contours = contoursOf(letter);
    const std::vector<Contour> edges = contoursOf(stroke);
    if (edges.size() != 2 * contours.size()) {
        return {};
    }
    QPainterPath body;
    for (std::size_t i = 0; i < contours.size(); ++i) {
        const bool isFirstLonger = std::abs(edges[2 * i].area) > std::abs(edges[2 * i + 1].area);
        const bool takesFirst = isFirstLonger != isHole(contours[i], contours);
        body.addPath(edges[takesFirst ? 2 * i : 2 * i + 1].path);
    }
    return Outline(body);
}

DrawnGlyph outlined(const QRawFont& font, quint32 index, const GlyphLook& look, bool isMadeBold) {
    QPainterPath path = QTransform::fromScale(look.scale, look.scale).map(font.pathForGlyph(index));
    if (isMadeBold) {
        path = madeBold(path, font.pixelSize() * look.scale * kBoldPenWidth);
    }
    DrawnGlyph glyph;
    glyph.letter = Outline(path);
    if (look.penWidth > 0) {
        const QPainterPath stroke = stroked(path, look.penWidth, Qt::BevelJoin);
        glyph.stroke = Outline(stroke);
        const double em = font.pixelSize() * look.scale;
        glyph.body = look.penWidth <= kWidestPenOfBody * em ? bodyOf(path, stroke) : Outline();
    }
    return glyph;
}

DrawnGlyph pictured(QRawFont font, quint32 index, double scale) {
    const double size = font.pixelSize() * scale;
    const double drawnSize = std::min(size, kMaximumPictureSize);
    font.setPixelSize(drawnSize);
    const QRect bounds = font.boundingRect(index).adjusted(-1, -1, 1, 1).toAlignedRect();
    DrawnGlyph glyph;
    glyph.picture = QImage(bounds.size(), QImage::Format_ARGB32_Premultiplied);
    glyph.picture.fill(Qt::transparent);
    QGlyphRun run;
    run.setRawFont(font);
    run.setGlyphIndexes({index});
    run.setPositions({QPointF()});
    QPainter(&glyph.picture).drawGlyphRun(-bounds.topLeft(), run);
    const double enlarged = size / drawnSize;
    glyph.pictureRect = QTransform::fromScale(enlarged, enlarged).mapRect(QRectF(bounds));
    return glyph;
}

std::size_t sizeOf(const DrawnGlyph& glyph) {
    return (glyph.letter.pointCount() + glyph.stroke.pointCount() + glyph.body.pointCount()) *
               sizeof(QPointF) +
           static_cast<std::size_t>(glyph.picture.sizeInBytes());
}

} // namespace

GlyphCache& GlyphCache::shared() {
    // Never destroyed: fonts cannot be released after the toolkit.
    static GlyphCache& cache = *std::make_unique<GlyphCache>().release();
    return cache;
}

std::shared_ptr<const DrawnGlyph> GlyphCache::glyph(const QRawFont& font, quint32 index,
                                                    const GlyphLook& look) {
    makeRoom();
    const Key key{faceOf(font), index, look};
    const auto known = glyphs_.find(key);
    if (known != glyphs_.end()) {
        return known->second;
    }
    const Face& face = faces_[key.face];
    auto made = std::make_shared<const DrawnGlyph>(
        face.hasPictures ? pictured(font, index, look.scale)
                         : outlined(font, index, look, look.isBold && !face.isBold));
    size_ += sizeOf(*made);
    glyphs_.emplace(key, made);
    return made;
}

void GlyphCache::makeRoom() {
    if (size_ > kMaximumSize || faces_.size() > kMaximumFaceCount) {
        glyphs_.clear();
        faces_.clear();
        size_ = 0;
    }
}

std::size_t GlyphCache::faceOf(const QRawFont& font) {
    const auto known = std::find_if(faces_.begin(), faces_.end(),
                                    [&](const Face& face) { return face.font == font; });
    if (known != faces_.end()) {
        return static_cast<std::size_t>(known - faces_.begin());
    }
    faces_.push_back({font, hasPictures(font), isBoldFace(font)});
    return faces_.size() - 1;
}

} // namespace zelvane

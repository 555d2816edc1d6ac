// SPDX-License-Identifier: GPL-3.0-or-later
#include "subtitles_view/text_block.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include <QFont>
#include <QTextBoundaryFinder>
#include <QTextLayout>

#include <unicode/uchar.h>

#include "text/font_catalog.h"

namespace zelvane {
namespace {

/// In UTF-16. Longer subtitles are unreadable, and layout takes time.
constexpr qsizetype kMaximumTextLength = 8192;
/// The largest font of a block has about this size in pixels of the layout, so that rounding to
/// whole pixels has no visible effect.
constexpr double kLayoutFontSize = 1024;
/// The widest line that the toolkit's 26.6 numbers can represent safely.
constexpr double kMaximumLineWidth = 4e6;
/// Opening a font takes most of a millisecond.
constexpr std::size_t kMaximumFontCount = 128;
/// The default of the text system whose look is reproduced.
constexpr double kTabInterval = 28;
/// Text with wider or narrower spacing is unreadable.
constexpr double kMaximumKernInEms = 20;
constexpr QChar kEllipsis(0x2026);
constexpr QChar kNothing(0x200B);
constexpr QChar kTextSelector(0xFE0E);
constexpr QChar kEmojiSelector(0xFE0F);
/// The font configuration's name for the font of emoji.
constexpr std::string_view kEmojiFamily = "emoji";

/// Characters with one set of attributes.
struct Piece {
    qsizetype start = 0;
    qsizetype length = 0;
    const StringAttributes* attributes = nullptr;
    /// Whether they are pictures instead of letters of the font.
    bool isEmoji = false;
};

struct Characters {
    QString text;
    std::vector<Piece> pieces;
    bool isCut = false;

    qsizetype length() const { return text.size(); }

    void append(QStringView more, const StringAttributes* attributes, bool isEmoji = false) {
        pieces.push_back({text.size(), more.size(), attributes, isEmoji});
        text += more;
    }

    Characters middle(qsizetype start, qsizetype count) const {
        Characters result;
        for (const Piece& piece : pieces) {
            const qsizetype from = std::max(piece.start, start);
            const qsizetype to = std::min(piece.start + piece.length, start + count);
            if (from < to) {
                result.append(QStringView(text).mid(from, to - from), piece.attributes,
                              piece.isEmoji);
            }
        }
        return result;
    }
};

bool isLineBreak(QChar c) {
    return c == u'\n' || c == u'\r' || c == QChar::LineSeparator ||
           c == QChar::ParagraphSeparator || c == u'\u0085';
}

bool isBlank(QChar c) {
    return c == u' ' || c == u'\t';
}

/// Characters that would be drawn as a box, or end a text.
void removeControls(QString& text) {
    for (QChar& c : text) {
        if (c.category() == QChar::Other_Control && c != u'\t' && !isLineBreak(c)) {
            c = kNothing;
        }
    }
}

/// Whether the text may contain emoji: most text needs no further check. Among the characters
/// without surrogates, some from U+231A to U+2B55 are pictures by default.
bool mayHaveEmoji(QStringView text) {
    return std::any_of(text.begin(), text.end(), [](QChar c) {
        return c.isHighSurrogate() || (c >= u'\u231a' && c <= u'\u2b55') || c == kEmojiSelector;
    });
}

/// By the rules of UTS #51: characters that are pictures by default, or by a selector.
bool isEmoji(QStringView grapheme) {
    const QList<uint> codePoints = grapheme.toUcs4();
    const auto first = static_cast<UChar32>(codePoints.front());
    if (codePoints.contains(kEmojiSelector.unicode())) {
        return u_hasBinaryProperty(first, UCHAR_EMOJI) != 0;
    }
    return u_hasBinaryProperty(first, UCHAR_EMOJI_PRESENTATION) != 0 &&
           !codePoints.contains(kTextSelector.unicode());
}

/// Emoji become separate pieces, so that they use a font of pictures even if the text's font has
/// glyphs for some of them.
void appendWithEmoji(QStringView text, const StringAttributes* attributes, Characters& result) {
    if (!mayHaveEmoji(text)) {
        result.append(text, attributes);
        return;
    }
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.data(), text.size());
    qsizetype start = 0;
    bool wasEmoji = false;
    for (qsizetype from = 0, to = 0; from < text.size(); from = to) {
        to = finder.toNextBoundary();
        to = to > from ? to : text.size();
        const bool isEmojiNow = isEmoji(text.mid(from, to - from));
        if (isEmojiNow != wasEmoji && from > start) {
            result.append(text.mid(start, from - start), attributes, wasEmoji);
            start = from;
        }
        wasEmoji = isEmojiNow;
    }
    result.append(text.mid(start), attributes, wasEmoji);
}

Characters charactersOf(const AttributedString& string) {
    Characters result;
    for (const AttributedString::Run& run : string.runs()) {
        const qsizetype room = kMaximumTextLength - result.length();
        // A character takes one to four bytes.
        std::string_view bytes = string.textOf(run);
        bytes = bytes.substr(0, static_cast<std::size_t>(4 * room));
        QString text = QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
        removeControls(text);
        if (text.size() > room) {
            result.isCut = true;
            text.truncate(room > 0 && text.at(room - 1).isHighSurrogate() ? room - 1 : room);
        }
        appendWithEmoji(text, &run.attributes, result);
        if (result.isCut) {
            break;
        }
    }
    return result;
}

double kernOf(const StringAttributes& attributes, double fontSize) {
    const double kern = attributes.kern.value_or(0);
    const double most = kMaximumKernInEms * fontSize;
    return std::isfinite(kern) ? std::clamp(kern, -most, most) : 0;
}

Font fontOf(const StringAttributes& attributes) {
    return attributes.font ? *attributes.font : FontCatalog::shared().helvetica(kDefaultFontSize);
}

/// Lays out lines of one block.
class Typesetter {
  public:
    Typesetter(const Characters& characters, const TextBlockLimits& limits) : limits_(limits) {
        double largest = 1;
        for (const Piece& piece : characters.pieces) {
            largest = std::max(largest, effectiveFontSize(*piece.attributes, limits.fontSize));
        }
        const double pixels = kLayoutFontSize / largest;
        pixelsPerUnit_ = pixels >= 1 ? std::floor(pixels) : pixels;
    }

    double unitsPerPixel() const { return 1 / pixelsPerUnit_; }

    /// One paragraph; its lines are made one after the other.
    class Paragraph;

  private:
    /// If there are too many fonts, the last of them is used for the rest.
    std::size_t fontFor(const Piece& piece) {
        const FontKey key{fontOf(*piece.attributes), piece.attributes->kern, piece.isEmoji};
        const auto known = std::find_if(fonts_.begin(), fonts_.end(),
                                        [&](const auto& font) { return font.first == key; });
        if (known != fonts_.end()) {
            return static_cast<std::size_t>(known - fonts_.begin());
        }
        if (fonts_.size() < kMaximumFontCount) {
            fonts_.emplace_back(key, makeFont(piece));
        }
        return fonts_.size() - 1;
    }

    QFont makeFont(const Piece& piece) const {
        const StringAttributes& attributes = *piece.attributes;
        const Font font = fontOf(attributes);
        const double size = effectiveFontSize(attributes, limits_.fontSize);
        QFont result;
        QStringList families{QString::fromStdString(font.familyName)};
        const auto emoji =
            piece.isEmoji ? FontCatalog::shared().font(kEmojiFamily, size) : std::nullopt;
        if (emoji) {
            families.prepend(QString::fromStdString(emoji->familyName));
        }
        result.setFamilies(families);
        result.setStyleHint(QFont::SansSerif);
        result.setBold((font.traits & kBoldFontMask) != 0);
        result.setItalic((font.traits & kItalicFontMask) != 0);
        result.setPixelSize(std::max(1, static_cast<int>(std::lround(size * pixelsPerUnit_))));
        result.setHintingPreference(QFont::PreferNoHinting);
        result.setLetterSpacing(QFont::AbsoluteSpacing, kernOf(attributes, size) * pixelsPerUnit_);
        return result;
    }

    /// Pieces that differ in colour only are shaped as one, so that letters join.
    QList<QTextLayout::FormatRange> formatsOf(const Characters& characters) {
        QList<QTextLayout::FormatRange> formats;
        std::optional<std::size_t> last;
        for (const Piece& piece : characters.pieces) {
            const std::size_t font = fontFor(piece);
            if (font == last) {
                formats.back().length += static_cast<int>(piece.length);
                continue;
            }
            last = font;
            QTextCharFormat format;
            format.setFont(fonts_[font].second);
            formats.push_back(
                {static_cast<int>(piece.start), static_cast<int>(piece.length), format});
        }
        return formats;
    }

    struct FontKey {
        Font font;
        std::optional<double> kern;
        bool isEmoji = false;
        friend bool operator==(const FontKey&, const FontKey&) = default;
    };

    TextBlockLimits limits_;
    double pixelsPerUnit_ = 1;
    std::vector<std::pair<FontKey, QFont>> fonts_;
};

class Typesetter::Paragraph {
  public:
    Paragraph(Typesetter& typesetter, const Characters& characters, bool isRightToLeft,
              QTextOption::WrapMode wrapMode)
        : typesetter_(typesetter), characters_(characters), isRightToLeft_(isRightToLeft),
          layout_(characters.text) {
        const auto formats = typesetter.formatsOf(characters_);
        if (!formats.empty()) {
            layout_.setFont(formats.front().format.font());
        }
        if (formats.size() > 1) {
            layout_.setFormats(formats);
        }
        // The lines are positioned when the width of the block is known.
        QTextOption option(Qt::AlignLeft | Qt::AlignAbsolute);
        option.setTextDirection(isRightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
        option.setWrapMode(wrapMode);
        option.setUseDesignMetrics(true);
        option.setTabStopDistance(kTabInterval * typesetter.pixelsPerUnit_);
        layout_.setTextOption(option);
        layout_.setCacheEnabled(true);
        layout_.beginLayout();
    }
    Paragraph(const Paragraph&) = delete;
    Paragraph& operator=(const Paragraph&) = delete;

    /// None after the last one. `width` is in units.
    std::optional<TextLine> nextLine(double width) {
        line_ = layout_.createLine();
        if (!line_.isValid()) {
            return std::nullopt;
        }
        const double scale = typesetter_.pixelsPerUnit_;
        line_.setLeadingIncluded(true);
        line_.setLineWidth(std::clamp(width * scale, 1.0, kMaximumLineWidth));
        TextLine result;
        result.width = line_.naturalTextWidth() / scale;
        result.height = line_.height() / scale;
        result.baseline = line_.ascent() / scale;
        result.isRightToLeft = isRightToLeft_;
        return result;
    }

    /// The position of the last line in the paragraph.
    qsizetype lineStart() const { return line_.textStart(); }
    qsizetype lineLength() const { return line_.textLength(); }

    /// Stops making lines.
    void end() { layout_.endLayout(); }

    /// After the end.
    std::vector<TextSegment> segmentsOfLine(int index) const {
        const QTextLine line = layout_.lineAt(index);
        std::vector<TextSegment> segments;
        for (const Piece& piece : characters_.pieces) {
            const qsizetype from = std::max<qsizetype>(piece.start, line.textStart());
            const qsizetype to = std::min<qsizetype>(piece.start + piece.length,
                                                     line.textStart() + line.textLength());
            if (from < to) {
                addSegments(line, from, to - from, *piece.attributes, segments);
            }
        }
        return segments;
    }

  private:
    void addSegments(const QTextLine& line, qsizetype start, qsizetype length,
                     const StringAttributes& attributes, std::vector<TextSegment>& segments) const {
        const QPointF origin(line.naturalTextRect().left(), line.y() + line.ascent());
        const double scale = typesetter_.pixelsPerUnit_;
        const std::size_t first = segments.size();
        QRectF lastExtent;
        for (QGlyphRun& run : line.glyphRuns(static_cast<int>(start), static_cast<int>(length))) {
            // The toolkit reports complementary faces with the extent of the whole.
            const QRectF extent = run.boundingRect();
            if (segments.size() == first || extent.left() != lastExtent.left() ||
                extent.width() != lastExtent.width()) {
                segments.push_back({(extent.left() - origin.x()) / scale,
                                    extent.width() / scale,
                                    {},
                                    &attributes});
                lastExtent = extent;
            }
            move(run, -origin);
            segments.back().glyphs.push_back(run);
        }
    }

    static void move(QGlyphRun& run, QPointF offset) {
        QList<QPointF> positions = run.positions();
        for (QPointF& position : positions) {
            position += offset;
        }
        run.setPositions(positions);
    }

    const Typesetter& typesetter_;
    const Characters& characters_;
    const bool isRightToLeft_;
    QTextLayout layout_;
    QTextLine line_;
};

/// Splits a text at its hard breaks.
class ParagraphReader {
  public:
    explicit ParagraphReader(const Characters& characters) : characters_(characters) {}

    bool isAtEnd() const { return position_ > characters_.length(); }

    Characters next() {
        const QString& text = characters_.text;
        qsizetype end = position_;
        while (end < text.size() && !isLineBreak(text.at(end))) {
            ++end;
        }
        // Trailing blanks would shift a centred line.
        qsizetype last = end;
        while (last > position_ && isBlank(text.at(last - 1))) {
            --last;
        }
        Characters paragraph = characters_.middle(position_, last - position_);
        if (paragraph.pieces.empty()) {
            paragraph.pieces.push_back({0, 0, attributesAt(end)});
        }
        const bool isPair =
            end + 1 < text.size() && text.at(end) == u'\r' && text.at(end + 1) == u'\n';
        position_ = end + (isPair ? 2 : 1);
        return paragraph;
    }

  private:
    /// An empty line has the height of the character that ends it.
    const StringAttributes* attributesAt(qsizetype index) const {
        for (const Piece& piece : characters_.pieces) {
            if (index < piece.start + piece.length) {
                return piece.attributes;
            }
        }
        return characters_.pieces.back().attributes;
    }

    const Characters& characters_;
    qsizetype position_ = 0;
};

/// Stacks lines until there is no more room.
class BlockBuilder {
  public:
    BlockBuilder(const Characters& characters, const TextBlockLimits& limits)
        : limits_(limits), typesetter_(characters, limits) {
        block_.unitsPerPixel = typesetter_.unitsPerPixel();
    }

    bool isFull() const { return block_.isTruncated; }

    void add(const Characters& characters) {
        const bool isRightToLeft = characters.text.isRightToLeft();
        Typesetter::Paragraph paragraph(typesetter_, characters, isRightToLeft,
                                        QTextOption::WrapAtWordBoundaryOrAnywhere);
        const std::size_t first = block_.lines.size();
        qsizetype lastStart = 0;
        while (const auto line = paragraph.nextLine(limits_.width)) {
            if (!hasRoomFor(*line)) {
                block_.isTruncated = true;
                break;
            }
            lastStart = paragraph.lineStart();
            append(*line);
        }
        paragraph.end();
        for (std::size_t i = first; i < block_.lines.size(); ++i) {
            block_.lines[i].segments = paragraph.segmentsOfLine(static_cast<int>(i - first));
        }
        if (block_.lines.size() > first) {
            rest_ = characters.middle(lastStart, characters.length() - lastStart);
        }
        if (isFull()) {
            elideLastLine();
        }
    }

    void elideLastLine() {
        block_.isTruncated = true;
        TextLine& last = block_.lines.back();
        if (rest_.pieces.empty()) {
            return;
        }
        qsizetype length = lengthThatFits(last.isRightToLeft);
        TextLine line = elidedLine(length, last.isRightToLeft);
        while (line.width > limits_.width && length > 0) {
            length = graphemeBefore(length);
            line = elidedLine(length, last.isRightToLeft);
        }
        last.width = line.width;
        last.segments = std::move(line.segments);
    }

    TextBlock finished() {
        block_.size = {blockWidth(), top_};
        for (TextLine& line : block_.lines) {
            const double free = block_.size.width - line.width;
            line.left = limits_.isCentered ? free / 2 : line.isRightToLeft ? free : 0;
        }
        return std::move(block_);
    }

  private:
    bool hasRoomFor(const TextLine& line) const {
        return block_.lines.empty() || top_ + line.height <= limits_.height;
    }

    void append(TextLine line) {
        line.top = top_;
        top_ += line.height;
        block_.lines.push_back(std::move(line));
    }

    qsizetype lengthThatFits(bool isRightToLeft) {
        Typesetter::Paragraph paragraph(typesetter_, rest_, isRightToLeft,
                                        QTextOption::WrapAnywhere);
        return paragraph.nextLine(limits_.width) ? paragraph.lineLength() : 0;
    }

    qsizetype graphemeBefore(qsizetype position) const {
        QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, rest_.text);
        finder.setPosition(position);
        return std::max<qsizetype>(0, finder.toPreviousBoundary());
    }

    TextLine elidedLine(qsizetype length, bool isRightToLeft) {
        while (length > 0 && rest_.text.at(length - 1).isSpace()) {
            --length;
        }
        Characters characters = rest_.middle(0, length);
        characters.append(QStringView(&kEllipsis, 1), attributesAt(length));
        Typesetter::Paragraph paragraph(typesetter_, characters, isRightToLeft,
                                        QTextOption::NoWrap);
        auto line = paragraph.nextLine(limits_.width);
        paragraph.end();
        line->segments = paragraph.segmentsOfLine(0);
        return *line;
    }

    /// The attributes of the character before, or of the first one.
    const StringAttributes* attributesAt(qsizetype length) const {
        for (const Piece& piece : rest_.pieces) {
            if (length <= piece.start + piece.length) {
                return piece.attributes;
            }
        }
        return rest_.pieces.back().attributes;
    }

    /// Lines that begin at different sides need the whole width.
    double blockWidth() const {
        double widest = 0;
        bool hasLeft = false;
        bool hasRight = false;
        for (const TextLine& line : block_.lines) {
            widest = std::max(widest, line.width);
            if (line.width > 0) {
                (line.isRightToLeft ? hasRight : hasLeft) = true;
            }
        }
        return hasLeft && hasRight && !limits_.isCentered ? std::max(widest, limits_.width)
                                                          : widest;
    }

    const TextBlockLimits limits_;
    Typesetter typesetter_;
    TextBlock block_;
    double top_ = 0;
    /// The range from the last line's start to the end of its paragraph.
    Characters rest_;
};

} // namespace

double effectiveFontSize(const StringAttributes& attributes, double maximum) {
    const double size = fontOf(attributes).pointSize;
    return std::min(size > 0 && std::isfinite(size) ? size : kDefaultFontSize, maximum);
}

TextBlock layOutText(const AttributedString& text, const TextBlockLimits& limits) {
    const Characters characters = charactersOf(text);
    if (characters.pieces.empty() || !(limits.fontSize > 0)) {
        return {};
    }
    BlockBuilder builder(characters, limits);
    ParagraphReader reader(characters);
    while (!reader.isAtEnd() && !builder.isFull()) {
        builder.add(reader.next());
    }
    if (characters.isCut && !builder.isFull()) {
        builder.elideLastLine();
    }
    return builder.finished();
}

} // namespace zelvane

// SPDX-License-Identifier: GPL-3.0-or-later
#include "preferences/caption_sample.h"

#include <algorithm>

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

#include "subtitles_view/formatted_text_subtitle_view.h"

namespace zelvane {
namespace {

constexpr int kHeight = 150;
constexpr double kRadius = 6;
/// Of the whole picture, of which the sample is the lower part: that of a window of usual size.
constexpr double kPictureHeight = 480;

void paintHills(QPainter& painter, const QSizeF& size, double base, double swing,
                const QColor& color) {
    QPainterPath hills(QPointF(0, size.height()));
    hills.lineTo(0, size.height() * base);
    const double step = size.width() / 5;
    for (int i = 0; i < 5; ++i) {
        const double y = size.height() * (base + (i % 2 == 0 ? -swing : swing * 0.6));
        hills.quadTo(step * (i + 0.5), y, step * (i + 1), size.height() * base);
    }
    hills.lineTo(size.width(), size.height());
    painter.fillPath(hills, color);
}

/// A landscape at dusk: dark and light areas behind the text show what its edge is for.
QPixmap landscape(const QSize& size, double devicePixelRatio) {
    QPixmap pixmap(size * devicePixelRatio);
    pixmap.setDevicePixelRatio(devicePixelRatio);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, 0, size.height());
    sky.setColorAt(0, QColor(0x8a, 0x56, 0x78));
    sky.setColorAt(0.45, QColor(0xd8, 0x7a, 0x5c));
    sky.setColorAt(0.8, QColor(0xf6, 0xc8, 0x78));
    painter.fillRect(QRect(QPoint(0, 0), size), sky);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0xff, 0xee, 0xc4));
    painter.drawEllipse(QPointF(size.width() * 0.66, size.height() * 0.56), 30, 30);
    paintHills(painter, size, 0.72, 0.20, QColor(0x5c, 0x4c, 0x66));
    paintHills(painter, size, 0.92, 0.14, QColor(0x26, 0x26, 0x36));
    return pixmap;
}

} // namespace

CaptionSample::CaptionSample() {
    setFixedHeight(kHeight);
    setAccessibleName(tr("Sample of subtitles"));
}

CaptionSample::~CaptionSample() = default;

QSizeF CaptionSample::pictureSize() const {
    return {static_cast<double>(width()), kPictureHeight};
}

void CaptionSample::setStyle(const SubtitleTextStyle& style) {
    const std::string text = tr("The ferry leaves at dawn.\nDo not wait for me.").toStdString();
    subtitle_ = std::make_unique<FormattedTextSubtitleView>(
        FormattedTextSubtitle{
            std::make_shared<AttributedString>(text, style.textAttributes.underlyingTextAttributes),
            style},
        /*isPrimarySubtitle=*/true);
    update();
}

void CaptionSample::paintEvent(QPaintEvent* /*event*/) {
    const double ratio = devicePixelRatio();
    if (background_.deviceIndependentSize() != QSizeF(size()) ||
        background_.devicePixelRatio() != ratio) {
        background_ = landscape(size(), ratio);
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath frame;
    frame.addRoundedRect(rect(), kRadius, kRadius);
    painter.setClipPath(frame);
    painter.drawPixmap(0, 0, background_);
    if (subtitle_ != nullptr) {
        subtitle_->setSize(pictureSize(), ratio);
        painter.translate(0, height() - kPictureHeight);
        subtitle_->paint(painter);
    }
}

} // namespace zelvane

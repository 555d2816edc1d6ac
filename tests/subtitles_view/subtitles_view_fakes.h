// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <QPainter>

#include "subtitles_view/subtitle_view_factory.h"
#include "subtitles_view/subtitles_surface.h"
#include "subtitles_view/subtitles_view.h"

namespace zelvane::test {

/// A view that paints the lower right quarter, or the upper one by its name, and counts the calls.
class FakeSubtitleView final : public SubtitleView {
  public:
    struct Counts {
        int layouts = 0;
        int paints = 0;
    };

    explicit FakeSubtitleView(std::string name = {}, std::shared_ptr<Counts> counts = nullptr)
        : name_(std::move(name)), counts_(counts ? std::move(counts) : std::make_shared<Counts>()) {
    }

    const std::string& name() const { return name_; }

    void setSize(const QSizeF& size, qreal /*devicePixelRatio*/) override {
        ++counts_->layouts;
        const bool isUpper = name_.ends_with("upper");
        place_ = QRectF(size.width() / 2, isUpper ? 0 : size.height() / 2, size.width() / 2,
                        size.height() / 2);
    }
    QRectF paintedRect() const override { return place_; }
    void paint(QPainter& painter) const override {
        ++counts_->paints;
        painter.fillRect(place_, QColor(0, 0, 255, 128));
    }

  private:
    const std::string name_;
    const std::shared_ptr<Counts> counts_;
    QRectF place_;
};

/// The text, or "picture WxH" with the size of the video it lies on; "top " before it in the
/// secondary position.
inline std::string nameOf(const SubtitleView& view) {
    return dynamic_cast<const FakeSubtitleView&>(view).name();
}

inline SubtitleViewFactory
fakeViews(const std::shared_ptr<FakeSubtitleView::Counts>& counts = nullptr) {
    const auto prefix = [](bool isPrimary) {
        return isPrimary ? std::string() : std::string("top ");
    };
    SubtitleViewFactory factory;
    factory.makeTextView = [=](const FormattedTextSubtitle& subtitle, bool isPrimary) {
        return std::make_unique<FakeSubtitleView>(
            prefix(isPrimary) + subtitle.formattedText->text(), counts);
    };
    factory.makeImageView = [=](const ImageSubtitle&, bool isPrimary,
                                const std::optional<VideoDimensions>& dimensions) {
        const std::string size = dimensions ? std::to_string(dimensions->width) + "x" +
                                                  std::to_string(dimensions->height)
                                            : "?";
        return std::make_unique<FakeSubtitleView>(prefix(isPrimary) + "picture " + size, counts);
    };
    factory.userSpecifiedStyle = [] { return SubtitleTextStyle(); };
    return factory;
}

inline SubtitlesFrameRef frameOf(const CMTime& start, const CMTime& end, Subtitles subtitles) {
    return std::make_shared<const SubtitlesFrame>(SubtitlesFrame{start, end, std::move(subtitles)});
}

inline FormattedTextSubtitle line(const std::string& text) {
    return {std::make_shared<const AttributedString>(text, StringAttributes()), {}};
}

} // namespace zelvane::test

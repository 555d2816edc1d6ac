// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <QObject>
#include <QPointer>
#include <QString>

#include "media_player/media_source/playable_source.h"

class QFileDialog;
class QWidget;

namespace zelvane {

class ProgressSheet;

/// Adds side files to a source, one at a time, under a sheet that cancels.
///
///   idle ──add()──> under way ──(tracks or an error)──> idle, and one handler is called
///                       └──────(cancelled)───────────> idle; a late result is dropped
///
/// A cancelled file is still added to the source. Main thread.
class ExternalSubtitlesAddition final : public QObject {
    Q_OBJECT

  public:
    struct Handlers {
        std::function<void(const ExternalSubtitlesTracks&)> didAdd;
        std::function<void(const URL&, const MediaSourceLoadError&)> didFail;
        /// The sheet is shown or removed.
        std::function<void()> didBegin;
        std::function<void()> didEnd;
    };

    /// The sheet is shown over `view`, which must outlive this.
    ExternalSubtitlesAddition(std::shared_ptr<PlayableSource> source, QWidget& view,
                              Handlers handlers);
    ~ExternalSubtitlesAddition() override;

    bool isUnderWay() const { return operationUUID_.has_value(); }
    /// Does nothing while another file is added.
    void add(const URL& url);
    /// Lets the user choose the file, at first among those beside the source.
    void showOpenPanel();

  private:
    void showSheet(const URL& url);
    void endOperation();
    /// Calls `handler` with the result on the main queue, unless the operation was cancelled.
    template <class Result>
    std::function<void(const Result&)> finishingWith(std::function<void(const Result&)> handler);

    const std::shared_ptr<PlayableSource> source_;
    QWidget& view_;
    const Handlers handlers_;
    std::optional<std::string> operationUUID_;
    /// Where the open panel was closed.
    QString folder_;
    // Owned by the view and its window.
    QPointer<ProgressSheet> sheet_;
    QPointer<QFileDialog> openPanel_;
};

} // namespace zelvane

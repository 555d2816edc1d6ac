// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include <QObject>
#include <QPointer>

#include "foundation/url.h"

class QFileDialog;

namespace zelvane {

class MediaPlayerDocument;

/// The open documents of the program, and the dialog that opens more: at most one at a time. Main
/// thread.
class DocumentController final : public QObject {
  public:
    /// `onLastClosed` is called each time that neither a document nor the dialog is left.
    explicit DocumentController(std::function<void()> onLastClosed);
    ~DocumentController() override;

    /// Each file as a document of its own. Dismisses the dialog.
    void open(const std::vector<URL>& urls);
    /// Does nothing while the dialog is shown.
    void showOpenPanel();
    /// Whether a document has closed with an alert.
    bool didFail() const { return didFail_; }
    std::size_t documentCount() const { return documents_.size(); }

  private:
    /// Calls `method` while this exists: a document whose alert is shown can outlive it.
    template <class... Arguments>
    std::function<void(Arguments...)> calling(void (DocumentController::*method)(Arguments...));
    void openOne(const URL& url);
    void didClose(const std::weak_ptr<MediaPlayerDocument>& document, bool didFail);
    void didFinishOpenPanel();
    void checkForLast() const;

    const std::function<void()> onLastClosed_;
    std::vector<std::shared_ptr<MediaPlayerDocument>> documents_;
    QPointer<QFileDialog> openPanel_;
    bool didFail_ = false;
    const std::shared_ptr<const int> lifetime_ = std::make_shared<const int>();
};

} // namespace zelvane

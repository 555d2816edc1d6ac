// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <utility>

#include <QColor>
#include <QPixmap>
#include <QWidget>

namespace zelvane {

/// Names a pane and its item in the toolbar; it is stored in the settings.
struct PreferencePaneIdentifier {
    std::string rawValue;
    friend bool operator==(const PreferencePaneIdentifier&,
                           const PreferencePaneIdentifier&) = default;
    friend bool operator<(const PreferencePaneIdentifier& a, const PreferencePaneIdentifier& b) {
        return a.rawValue < b.rawValue;
    }
};

class ToolbarItemImageProvider {
  public:
    virtual ~ToolbarItemImageProvider() = default;
    /// A square symbol of `size` points in one colour.
    virtual QPixmap toolbarItemImage(double size, double devicePixelRatio,
                                     const QColor& tint) const = 0;
};

/// One page of the preferences window. Its window title is its title in the toolbar and, among
/// other panes, that of the window; its size hint is the size of its content. Main thread.
class PreferencePane : public QWidget, public ToolbarItemImageProvider {
    Q_OBJECT

  public:
    explicit PreferencePane(PreferencePaneIdentifier identifier)
        : preferencePaneIdentifier_(std::move(identifier)) {}

    const PreferencePaneIdentifier& preferencePaneIdentifier() const {
        return preferencePaneIdentifier_;
    }

  private:
    const PreferencePaneIdentifier preferencePaneIdentifier_;
};

} // namespace zelvane

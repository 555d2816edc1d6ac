// SPDX-License-Identifier: GPL-3.0-or-later
#include "preferences/debug_preference_pane_view_controller.h"

#include <algorithm>

#include <QApplication>
#include <QCheckBox>
#include <QLabel>

#include "player_window/placebo_video_widget.h"
#include "player_window/raster_video_widget.h"
#include "preferences/settings_grid.h"

namespace zelvane {
namespace {

template <class Surface>
bool isInUse() {
    return std::ranges::any_of(QApplication::allWidgets(), [](const QWidget* widget) {
        return dynamic_cast<const Surface*>(widget) != nullptr;
    });
}

QString presenterInUse() {
    using Pane = DebugPreferencePaneViewController;
    if (isInUse<PlaceboVideoWidget>()) {
        return Pane::tr("Graphics processor (libplacebo)");
    }
    return isInUse<RasterVideoWidget>() ? Pane::tr("CPU") : Pane::tr("No picture is open");
}

QLabel* makeValue(const QString& text) {
    // The pane owns it. NOLINTNEXTLINE(cppcoreguidelines-owning-memory)
    auto* label = new QLabel(text);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    return label;
}

} // namespace

DebugPreferencePaneViewController::DebugPreferencePaneViewController(UserDefaults& defaults)
    : SettingsPane({"debug"}, QStringLiteral("debug"), defaults),
      presenter_(makeValue(presenterInUse())) {
    setWindowTitle(tr("Debug"));
    SettingsGrid grid(*this);
    grid.addRow(tr("Pictures are drawn by:"), {presenter_});
    grid.addRow(tr("Window system:"), {makeValue(QGuiApplication::platformName())});
    grid.addRow(tr("Qt:"), {makeValue(QString::fromLatin1(qVersion()))});
    grid.addGap();
    auto* statistics = grid.addCheckBox(tr("Log:"), tr("&Write statistics of frames"));
    bind(*statistics, "ZLVNLogStatistics");
    grid.addDescription(tr("When a window is closed, the log states how many frames were shown, "
                           "dropped and late."),
                        statistics);
}

void DebugPreferencePaneViewController::showEvent(QShowEvent* event) {
    presenter_->setText(presenterInUse());
    SettingsPane::showEvent(event);
}

} // namespace zelvane

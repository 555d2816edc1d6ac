// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/dispatch.h"
#include "foundation/notification_center.h"
#include "foundation/user_defaults.h"
#include "media_player/decoders/subtitles/caption_appearance.h"
#include "media_player/decoders/subtitles/subtitle_text_style.h"

namespace zelvane {

/// Whether the user's style replaces what a file asks for.
inline constexpr std::string_view kUseUserSpecifiedSubtitleTextStyleKey =
    "ZLVNUseUserSpecifiedSubtitleTextStyle";

/// Keeps the user's caption appearance as a text style. Any thread; the style is accessed on the
/// manager's queue only, which readers enter synchronously.
class SubtitleTextStyleManager : public std::enable_shared_from_this<SubtitleTextStyleManager> {
    struct Key {};

  public:
    /// Posted on the shared centre, with the manager as object and on a queue of its own, when
    /// styles that were derived from the user's must be derived again.
    static constexpr std::string_view kUserSpecifiedTextStyleDidChangeNotification =
        "zelvane.player.SubtitleTextStyleManager.userSpecifiedTextStyleDidChange";

    /// The process's manager, made on first use.
    static const std::shared_ptr<SubtitleTextStyleManager>& shared();
    /// The arguments must outlive the manager, and everything that it has posted.
    static std::shared_ptr<SubtitleTextStyleManager> create(const CaptionAppearance& appearance,
                                                            const UserDefaults& defaults,
                                                            NotificationCenter& center);
    SubtitleTextStyleManager(Key key, const CaptionAppearance& appearance,
                             const UserDefaults& defaults, NotificationCenter& center);
    SubtitleTextStyleManager(const SubtitleTextStyleManager&) = delete;
    SubtitleTextStyleManager& operator=(const SubtitleTextStyleManager&) = delete;

    SubtitleTextStyle userSpecifiedStyle() const;
    /// The style to use instead of the one that a file asks for.
    SubtitleTextStyle effectiveStyle(const SubtitleTextStyle& style) const;
    /// Call after writing kUseUserSpecifiedSubtitleTextStyleKey: posts the notification if the
    /// value differs.
    void useOfUserSpecifiedStyleDidChange() { updateSoon(); }

  private:
    void observe();
    void updateSoon();
    void update();
    bool usesUserSpecifiedStyle() const;
    void postDidChange();

    const CaptionAppearance& appearance_;
    const UserDefaults& defaults_;
    NotificationCenter& center_;
    const std::shared_ptr<dispatch::Queue> queue_;
    /// Set by the first update, which precedes every reader.
    std::optional<SubtitleTextStyle> userSpecifiedStyle_;
    /// The setting at the last update.
    bool usesUserSpecifiedStyle_;
    NotificationObserver settingsObserver_;
};

/// The caption appearance as a style for text of 12.
SubtitleTextStyle userSpecifiedTextStyle(const CaptionAppearance& appearance);

/// Forwards changes of the user's text style, to decoders first and to players after them: a player
/// that shows text again gets new styles. Any thread; the observers are called on the posting
/// thread, with no lock held.
class SubtitleTextStyleUpdateNotifier
    : public std::enable_shared_from_this<SubtitleTextStyleUpdateNotifier> {
    struct Key {};

  public:
    using Observer = std::function<void()>;

    /// A registration for as long as this object exists. A call that is running on another thread
    /// on destruction may still finish.
    class ObserverContext {
      public:
        ObserverContext(std::weak_ptr<SubtitleTextStyleUpdateNotifier> notifier,
                        std::string observerUUID);
        ~ObserverContext();
        ObserverContext(const ObserverContext&) = delete;
        ObserverContext& operator=(const ObserverContext&) = delete;

      private:
        std::weak_ptr<SubtitleTextStyleUpdateNotifier> notifier_;
        std::string observerUUID_;
    };

    /// The process's notifier of the shared manager, made on first use.
    static const std::shared_ptr<SubtitleTextStyleUpdateNotifier>& shared();
    static std::shared_ptr<SubtitleTextStyleUpdateNotifier>
    create(const SubtitleTextStyleManager& manager, NotificationCenter& center);
    explicit SubtitleTextStyleUpdateNotifier(Key key);
    SubtitleTextStyleUpdateNotifier(const SubtitleTextStyleUpdateNotifier&) = delete;
    SubtitleTextStyleUpdateNotifier& operator=(const SubtitleTextStyleUpdateNotifier&) = delete;

    [[nodiscard]] std::shared_ptr<ObserverContext> addMediaPlayerObserver(Observer observer);
    [[nodiscard]] std::shared_ptr<ObserverContext> addDecoderObserver(Observer observer);

  private:
    using Observers = std::map<std::string, Observer>;

    std::shared_ptr<ObserverContext> add(Observers& observers, Observer observer);
    void remove(const std::string& observerUUID);
    void notify();

    const std::shared_ptr<dispatch::Queue> queue_ =
        dispatch::makeSerialQueue("Subtitle Text Style Update Notifier Queue");
    Observers mediaPlayerObservers_;
    Observers decoderObservers_;
    NotificationObserver changeObserver_;
};

} // namespace zelvane

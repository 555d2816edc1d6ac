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

/// Whether the person's style takes the place of what a file asks for.
inline constexpr std::string_view kUseUserSpecifiedSubtitleTextStyleKey =
    "ZLVNUseUserSpecifiedSubtitleTextStyle";

/// Keeps the person's caption appearance as a text style. Any thread; the style belongs to its
/// queue, which readers enter for a moment.
class SubtitleTextStyleManager : public std::enable_shared_from_this<SubtitleTextStyleManager> {
    struct Key {};

  public:
    /// Posted on the shared centre, with the manager as object and on a queue of its own, when
    /// styles that were derived from the person's have to be made anew.
    static constexpr std::string_view kUserSpecifiedTextStyleDidChangeNotification =
        "zelvane.player.SubtitleTextStyleManager.userSpecifiedTextStyleDidChange";

    /// The process's manager, made when it is first asked for.
    static const std::shared_ptr<SubtitleTextStyleManager>& shared();
    /// What it is given has to outlive it, and all that it has posted.
    static std::shared_ptr<SubtitleTextStyleManager> create(const CaptionAppearance& appearance,
                                                            const UserDefaults& defaults,
                                                            NotificationCenter& center);
    SubtitleTextStyleManager(Key key, const CaptionAppearance& appearance,
                             const UserDefaults& defaults, NotificationCenter& center);
    SubtitleTextStyleManager(const SubtitleTextStyleManager&) = delete;
    SubtitleTextStyleManager& operator=(const SubtitleTextStyleManager&) = delete;

    SubtitleTextStyle userSpecifiedStyle() const;
    /// The style to use in the place of one that a file asks for.
    SubtitleTextStyle effectiveStyle(const SubtitleTextStyle& style) const;
    /// For whoever has written kUseUserSpecifiedSubtitleTextStyleKey: posts the notification.
    void useOfUserSpecifiedStyleDidChange() const { postDidChange(); }

  private:
    void observe();
    void updateSoon();
    void update();
    void postDidChange() const;

    const CaptionAppearance& appearance_;
    const UserDefaults& defaults_;
    NotificationCenter& center_;
    const std::shared_ptr<dispatch::Queue> queue_;
    /// There is one from the first update on, and every reader comes after it.
    std::optional<SubtitleTextStyle> userSpecifiedStyle_;
    NotificationObserver settingsObserver_;
};

/// The caption appearance as a style for text of 12.
SubtitleTextStyle userSpecifiedTextStyle(const CaptionAppearance& appearance);

/// Passes changes of the person's text style on, to decoders first and to players after them: who
/// shows text again finds new styles. Any thread; the observers are called on the thread that tells
/// of the change, with no lock held.
class SubtitleTextStyleUpdateNotifier
    : public std::enable_shared_from_this<SubtitleTextStyleUpdateNotifier> {
    struct Key {};

  public:
    using Observer = std::function<void()>;

    /// A registration, which lasts as long as this. What is running on another thread when it goes
    /// may still finish.
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

    /// The process's notifier of the shared manager, made when it is first asked for.
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

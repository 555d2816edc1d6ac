// SPDX-License-Identifier: GPL-3.0-or-later
#include "media_player/decoders/subtitles/subtitle_text_style_manager.h"

#include <utility>

#include "foundation/log.h"
#include "foundation/uuid.h"

namespace zelvane {
namespace {

constexpr double kBaseFontSize = 12;
constexpr double kShadowOffset = kBaseFontSize * 0.0882353;
constexpr double kShadowBlurRadius = 4;
constexpr double kContainerInset = 12;
constexpr double kPercentageOfVideoHeight = 5;
// In percent of the font's size, half of it inside the letters; below 0 the letters are filled too.
constexpr double kUniformStrokeWidth = -19.44444;
constexpr double kDropShadowStrokeWidth = -5.55556;

TextShadow shadow(CGSize offset) {
    return {offset, kShadowBlurRadius, kBlackColor.withAlpha(0.6)};
}

void applyEdgeStyle(std::int64_t edgeStyle, StringAttributes& attributes) {
    switch (static_cast<CaptionTextEdgeStyle>(edgeStyle)) {
    case CaptionTextEdgeStyle::undefined:
    case CaptionTextEdgeStyle::none:
        return;
    case CaptionTextEdgeStyle::raised:
        attributes.shadow = shadow({-kShadowOffset, kShadowOffset});
        return;
    case CaptionTextEdgeStyle::depressed:
        attributes.shadow = shadow({kShadowOffset, -kShadowOffset});
        return;
    case CaptionTextEdgeStyle::uniform:
        attributes.strokeWidth = kUniformStrokeWidth;
        attributes.strokeColor = kBlackColor;
        return;
    case CaptionTextEdgeStyle::dropShadow:
        attributes.strokeWidth = kDropShadowStrokeWidth;
        attributes.strokeColor = kBlackColor;
        attributes.shadow = shadow({0, 0});
        return;
    }
    logMessage("Unhandled caption text edge style: {}.", edgeStyle);
}

SubtitleTextStyle::TextAttributes textAttributes(const CaptionAppearance& appearance) {
    SubtitleTextStyle::TextAttributes text;
    StringAttributes& attributes = text.underlyingTextAttributes;
    attributes.font = appearance.font(kBaseFontSize);
    text.fontTraits = attributes.font ? attributes.font->traits : 0;
    attributes.foregroundColor = appearance.foregroundColor()
                                     .value_or(kWhiteColor)
                                     .withAlpha(appearance.foregroundOpacity());
    if (const auto background = appearance.backgroundColor()) {
        attributes.backgroundColor = background->withAlpha(appearance.backgroundOpacity());
    }
    applyEdgeStyle(appearance.textEdgeStyle(), attributes);
    return text;
}

} // namespace

SubtitleTextStyle userSpecifiedTextStyle(const CaptionAppearance& appearance) {
    SubtitleTextStyle style;
    style.textAttributes = textAttributes(appearance);
    style.overlayStyle.insets = {2, 2};
    style.overlayStyle.cornerRadius = appearance.windowRoundedCornerRadius();
    style.overlayStyle.backgroundColor =
        appearance.windowColor().value_or(kBlackColor).withAlpha(appearance.windowOpacity());
    style.containerInsets = {kContainerInset, kContainerInset, kContainerInset, kContainerInset};
    style.alignmentInContainer = SubtitleTextStyle::Alignment::center;
    style.shouldRestrictOverridesToBasicAttributes = true;
    style.scalingInfo = {kBaseFontSize, kPercentageOfVideoHeight,
                         appearance.relativeCharacterSize()};
    return style;
}

const std::shared_ptr<SubtitleTextStyleManager>& SubtitleTextStyleManager::shared() {
    // Never destroyed: its posted tasks may run until the process ends.
    static const auto& manager = *std::make_unique<std::shared_ptr<SubtitleTextStyleManager>>(
                                      create(CaptionAppearance::shared(), UserDefaults::shared(),
                                             NotificationCenter::shared()))
                                      .release();
    return manager;
}

std::shared_ptr<SubtitleTextStyleManager>
SubtitleTextStyleManager::create(const CaptionAppearance& appearance, const UserDefaults& defaults,
                                 NotificationCenter& center) {
    auto manager = std::make_shared<SubtitleTextStyleManager>(Key{}, appearance, defaults, center);
    manager->observe();
    return manager;
}

SubtitleTextStyleManager::SubtitleTextStyleManager(Key /*key*/, const CaptionAppearance& appearance,
                                                   const UserDefaults& defaults,
                                                   NotificationCenter& center)
    : appearance_(appearance), defaults_(defaults), center_(center),
      queue_(dispatch::makeSerialQueue("Subtitle Text Style Manager Queue",
                                       dispatch::QualityOfService::utility)),
      usesUserSpecifiedStyle_(usesUserSpecifiedStyle()) {}

void SubtitleTextStyleManager::observe() {
    updateSoon();
    settingsObserver_ = center_.addObserver(
        std::string(CaptionAppearance::kSettingsChangedNotification), &appearance_, nullptr,
        [weakSelf = weak_from_this()](const Notification&) {
            if (const auto self = weakSelf.lock()) {
                self->updateSoon();
            }
        });
}

void SubtitleTextStyleManager::updateSoon() {
    queue_->async([self = shared_from_this()] { self->update(); });
}

void SubtitleTextStyleManager::update() {
    const auto oldStyle = std::exchange(userSpecifiedStyle_, userSpecifiedTextStyle(appearance_));
    const bool wasUsed = std::exchange(usesUserSpecifiedStyle_, usesUserSpecifiedStyle());
    // The first update changes nothing: readers of the style wait for it.
    const bool didStyleChange = oldStyle && oldStyle != userSpecifiedStyle_;
    if (didStyleChange || wasUsed != usesUserSpecifiedStyle_) {
        postDidChange();
    }
}

bool SubtitleTextStyleManager::usesUserSpecifiedStyle() const {
    return defaults_.boolForKey(kUseUserSpecifiedSubtitleTextStyleKey);
}

void SubtitleTextStyleManager::postDidChange() {
    dispatch::globalQueue(dispatch::QualityOfService::utility)->async([self = shared_from_this()] {
        self->center_.post(
            {std::string(kUserSpecifiedTextStyleDidChangeNotification), self.get(), {}});
    });
}

SubtitleTextStyle SubtitleTextStyleManager::userSpecifiedStyle() const {
    return queue_->sync([this] {
        if (!userSpecifiedStyle_) {
            fatalError("The person's text style was read before it was made.");
        }
        return *userSpecifiedStyle_;
    });
}

SubtitleTextStyle SubtitleTextStyleManager::effectiveStyle(const SubtitleTextStyle& style) const {
    if (!usesUserSpecifiedStyle()) {
        return style;
    }
    SubtitleTextStyle effective = userSpecifiedStyle();
    effective.applyOverrides(style);
    return effective;
}

SubtitleTextStyleUpdateNotifier::ObserverContext::ObserverContext(
    std::weak_ptr<SubtitleTextStyleUpdateNotifier> notifier, std::string observerUUID)
    : notifier_(std::move(notifier)), observerUUID_(std::move(observerUUID)) {}

SubtitleTextStyleUpdateNotifier::ObserverContext::~ObserverContext() {
    if (const auto notifier = notifier_.lock()) {
        notifier->remove(observerUUID_);
    }
}

const std::shared_ptr<SubtitleTextStyleUpdateNotifier>& SubtitleTextStyleUpdateNotifier::shared() {
    static const auto& notifier =
        *std::make_unique<std::shared_ptr<SubtitleTextStyleUpdateNotifier>>(
             create(*SubtitleTextStyleManager::shared(), NotificationCenter::shared()))
             .release();
    return notifier;
}

std::shared_ptr<SubtitleTextStyleUpdateNotifier>
SubtitleTextStyleUpdateNotifier::create(const SubtitleTextStyleManager& manager,
                                        NotificationCenter& center) {
    auto notifier = std::make_shared<SubtitleTextStyleUpdateNotifier>(Key{});
    notifier->changeObserver_ = center.addObserver(
        std::string(SubtitleTextStyleManager::kUserSpecifiedTextStyleDidChangeNotification),
        &manager, nullptr, [weakNotifier = std::weak_ptr(notifier)](const Notification&) {
            if (const auto strongNotifier = weakNotifier.lock()) {
                strongNotifier->notify();
            }
        });
    return notifier;
}

SubtitleTextStyleUpdateNotifier::SubtitleTextStyleUpdateNotifier(Key /*key*/) {}

std::shared_ptr<SubtitleTextStyleUpdateNotifier::ObserverContext>
SubtitleTextStyleUpdateNotifier::addMediaPlayerObserver(Observer observer) {
    return add(mediaPlayerObservers_, std::move(observer));
}

std::shared_ptr<SubtitleTextStyleUpdateNotifier::ObserverContext>
SubtitleTextStyleUpdateNotifier::addDecoderObserver(Observer observer) {
    return add(decoderObservers_, std::move(observer));
}

std::shared_ptr<SubtitleTextStyleUpdateNotifier::ObserverContext>
SubtitleTextStyleUpdateNotifier::add(Observers& observers, Observer observer) {
    std::string observerUUID = makeUUIDString();
    queue_->sync([&] { observers.emplace(observerUUID, std::move(observer)); });
    return std::make_shared<ObserverContext>(weak_from_this(), std::move(observerUUID));
}

void SubtitleTextStyleUpdateNotifier::remove(const std::string& observerUUID) {
    // Observers are destroyed outside the queue: their destructors may add and remove others.
    std::vector<Observers::node_type> removed;
    queue_->sync([&] {
        removed.push_back(mediaPlayerObservers_.extract(observerUUID));
        removed.push_back(decoderObservers_.extract(observerUUID));
    });
}

void SubtitleTextStyleUpdateNotifier::notify() {
    const auto [decoders, players] =
        queue_->sync([this] { return std::pair(decoderObservers_, mediaPlayerObservers_); });
    for (const Observers* observers : {&decoders, &players}) {
        for (const auto& [observerUUID, observer] : *observers) {
            observer();
        }
    }
}

} // namespace zelvane

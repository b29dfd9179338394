#include "app/JLUpdateChecker.h"

#include <fmt/format.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <optional>
#include <utility>

#include "app/ProductPages.h"
#include "platform/Defaults.h"
#include "platform/Platform.h"
#include "platform/Queues.h"
#include "platform/SystemFacts.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

constexpr std::chrono::minutes kFirstLook{5};
constexpr std::chrono::hours kBetweenLooks{1};
constexpr std::chrono::minutes kLeeway{5};
constexpr std::chrono::hours kBetweenChecks{24};

constexpr const char* kGet = textForLater("Open Download Page");
constexpr const char* kLater = textForLater("Remind Me Later");
constexpr const char* kSkip = textForLater("Skip This Version");
constexpr const char* kCancel = textForLater("Cancel");
constexpr const char* kOK = textForLater("OK");
constexpr const char* kOption = textForLater("Look for updates once a day");

std::string ownVersion() {
  SystemFacts* const facts = Platform::current().facts;
  return facts != nullptr ? facts->application().version : std::string();
}

/// The newest of those that come after `own`. One before its final version is for those who use such a one already.
std::optional<AnnouncedVersion> newerVersion(const UpdateFeed& feed, const ProductVersion& own) {
  std::optional<AnnouncedVersion> newest;
  for (const AnnouncedVersion& announced : feed.versions) {
    const ProductVersion& best = newest ? newest->version : own;
    if (announced.version > best && (!announced.version.isPreRelease() || own.isPreRelease())) {
      newest = announced;
    }
  }
  return newest;
}

UpdateWindowModel messageOf(std::string title, std::string text) {
  UpdateWindowModel model;
  model.title = std::move(title);
  model.text = std::move(text);
  model.buttons = {localized(kOK)};
  return model;
}

UpdateWindowModel offerOf(const AnnouncedVersion& announced, const std::string& own) {
  UpdateWindowModel model =
      messageOf(localized("A new version of Jumplark is available"),
                localizedFormat("Jumplark {} is available. This is version {}.", announced.versionText, own));
  model.notes = announced.notes;
  model.buttons = {localized(kLater), localized(kSkip)};
  if (!announced.link.empty()) {
    model.buttons.insert(model.buttons.begin(), localized(kGet));
  }
  return model;
}

}  // namespace

JLUpdateChecker::JLUpdateChecker() : self_(std::make_shared<JLUpdateChecker*>(this)) {}

JLUpdateChecker::~JLUpdateChecker() {
  if (cancelled_) {
    *cancelled_ = true;
  }
}

void JLUpdateChecker::setFeedAddress(const std::string& address) {
  address_ = address;
  if (address_.empty() || timer_) {
    return;
  }
  Queues& queues = *Platform::current().queues;
  setting_ = Platform::current().defaults->observe(automaticKey, [this](const DefaultsValue&) {
    if (window_) {
      model_.isOptionOn = Platform::current().defaults->boolean(automaticKey);
      window_->setModel(model_);
    }
  });
  timer_ =
      queues.makeRepeatingTimer(queues.mainQueue(), kFirstLook, kBetweenLooks, kLeeway, [this] { checkWhenDue(); });
  timer_->resume();
}

void JLUpdateChecker::checkWhenDue() {
  const Platform& platform = Platform::current();
  if (address_.empty() || !platform.defaults->boolean(automaticKey)) {
    return;
  }
  const auto now = std::chrono::floor<std::chrono::seconds>(platform.queues->wallClockNow());
  const DefaultsValue stored = platform.defaults->value(lastCheckKey);
  const std::chrono::seconds last(stored.is_number_integer() ? stored.get<int64_t>() : 0);
  // A time that is still to come was written under a wrong clock.
  if (last <= now && last > now - kBetweenChecks) {
    return;
  }
  platform.defaults->setValue(lastCheckKey, now.count());
  start(Asked::byItself);
}

void JLUpdateChecker::checkForUpdates() {
  if (address_.empty()) {
    show(messageOf(
             localized("Jumplark cannot look for updates"),
             localized("This version of Jumplark does not look for updates. They come from where you got Jumplark.")),
         true);
    return;
  }
  if (offered_) {
    window_->show(true);
    return;
  }
  UpdateWindowModel busy = messageOf(localized("Looking for updates…"), {});
  busy.isBusy = true;
  busy.buttons = {localized(kCancel)};
  show(std::move(busy), true);
  start(Asked::byUser);
}

void JLUpdateChecker::start(Asked asked) {
  if (cancelled_) {
    asked_ = std::min(asked_, asked);
    return;
  }
  asked_ = asked;
  cancelled_ = std::make_shared<std::atomic<bool>>(false);
  if (!queue_) {
    queue_ = Platform::current().queues->makeSerialQueue("com.brindlefox.jumplark.updates");
  }
  queue_->post([weak = std::weak_ptr(self_), address = address_, cancelled = cancelled_] {
    const Platform& platform = Platform::current();
    UpdateFeed feed = fetchUpdateFeed(*platform.http, address, [cancelled] { return cancelled->load(); });
    platform.queues->mainQueue().post([weak, cancelled, feed = std::move(feed)] {
      const auto self = weak.lock();
      if (self && !*cancelled) {
        (*self)->finish(feed);
      }
    });
  });
}

void JLUpdateChecker::finish(const UpdateFeed& feed) {
  cancelled_.reset();
  const bool byUser = asked_ == Asked::byUser;
  const std::string own = ownVersion();
  if (!feed.problem.empty()) {
    spdlog::warn("No answer about updates: {} ({})", feed.problem, feed.details);
    if (byUser) {
      show(messageOf(localized("Jumplark could not look for updates"), feed.problem), true);
    }
    return;
  }
  const auto ownParsed = ProductVersion::parse(own);
  const auto newer = ownParsed ? newerVersion(feed, *ownParsed) : std::nullopt;
  if (newer && (byUser || !isSkipped(*newer))) {
    offered_ = *newer;
    show(offerOf(*newer, own), byUser);
  } else if (byUser) {
    show(messageOf(localized("Jumplark is up to date"), localizedFormat("Version {} is the newest one.", own)), true);
  }
}

bool JLUpdateChecker::isSkipped(const AnnouncedVersion& announced) const {
  const auto skipped = ProductVersion::parse(Platform::current().defaults->text(skippedKey));
  return skipped && announced.version == *skipped;
}

void JLUpdateChecker::show(UpdateWindowModel model, bool takesKeyboard) {
  if (!window_) {
    window_ = Platform::current().appViews->makeUpdateWindow(
        {[this](int button) { buttonPressed(button); },
         [](bool on) { Platform::current().defaults->setValue(automaticKey, on); }});
  }
  model_ = std::move(model);
  model_.option = address_.empty() ? std::string() : localized(kOption);
  model_.isOptionOn = Platform::current().defaults->boolean(automaticKey);
  window_->setModel(model_);
  window_->show(takesKeyboard);
}

void JLUpdateChecker::buttonPressed(int button) {
  const bool wasBusy = model_.isBusy;
  const std::string pressed =
      button >= 0 && static_cast<size_t>(button) < model_.buttons.size() ? model_.buttons[button] : std::string();
  const auto offered = std::exchange(offered_, std::nullopt);
  window_.reset();
  if (wasBusy && cancelled_) {
    *std::exchange(cancelled_, nullptr) = true;
  } else if (offered && pressed == localized(kSkip)) {
    Platform::current().defaults->setValue(skippedKey, offered->versionText);
  } else if (offered && pressed == localized(kGet)) {
    openPage(offered->link);
  }
}

}  // namespace jumplark

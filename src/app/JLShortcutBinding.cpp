#include "app/JLShortcutBinding.h"

#include <fmt/format.h>
#include <spdlog/spdlog.h>

#include <chrono>
#include <utility>
#include <vector>

#include "app/ShortcutRecord.h"
#include "platform/Input.h"
#include "platform/Platform.h"
#include "platform/Queues.h"
#include "platform/Texts.h"
#include "platform/Views.h"

namespace jumplark {
namespace {

constexpr std::chrono::seconds kRetryInterval{5};
constexpr int64_t kF12 = key_code::symbolBase + 0xFFC9;

/// Offered in this order. Desktops leave most of them alone.
constexpr Shortcut kCandidates[] = {
    {key_code::space, modifier_flag::command | modifier_flag::shift},
    {key_code::space, modifier_flag::control | modifier_flag::option},
    {key_code::space, modifier_flag::command | modifier_flag::option},
    {key_code::space, modifier_flag::command | modifier_flag::control},
    {kF12, modifier_flag::command},
    {kF12, modifier_flag::control | modifier_flag::option},
    {kF12, modifier_flag::command | modifier_flag::shift},
};

Alert alertFor(ShortcutState state, const std::string& name, const std::optional<std::string>& freeName) {
  const std::string why =
      state == ShortcutState::taken
          ? localizedFormat(
                "Another program or the desktop itself already uses {}, so pressing it does not open Jumplark. As soon "
                "as it is given up there, it works here.",
                name)
          : localizedFormat("This keyboard has no such key now, so {} cannot open Jumplark.", name);
  Alert alert{localizedFormat("The key combination {} cannot be used", name), why, {}};
  if (freeName) {
    alert.text += "\n\n" + localizedFormat("{} is free.", *freeName);
    alert.buttons = {localizedFormat("Use {}", *freeName), localized("Not now")};
  } else {
    alert.text += std::string("\n\n") + localized("The command \"jumplark activate\" opens it too.");
    alert.buttons = {localized("Not now")};
  }
  return alert;
}

}  // namespace

JLShortcutBinding::JLShortcutBinding(std::string defaultsKey, Handler handler)
    : defaultsKey_(std::move(defaultsKey)),
      handler_(std::move(handler)),
      self_(std::make_shared<JLShortcutBinding*>(this)) {
  Defaults& defaults = *Platform::current().defaults;
  observation_ = defaults.observe(defaultsKey_, [this](const DefaultsValue& record) { follow(record); });
  follow(defaults.value(defaultsKey_));
}

JLShortcutBinding::~JLShortcutBinding() = default;

std::optional<Shortcut> JLShortcutBinding::registeredShortcut() const {
  return registration_ ? wanted_ : std::nullopt;
}

Token JLShortcutBinding::suspend() {
  isSuspended_ = true;
  ++round_;
  registration_.reset();
  return Token([weak = std::weak_ptr(self_)] {
    if (const auto self = weak.lock()) {
      (*self)->isSuspended_ = false;
      (*self)->follow(Platform::current().defaults->value((*self)->defaultsKey_));
    }
  });
}

void JLShortcutBinding::follow(const DefaultsValue& record) {
  const std::optional<Shortcut> shortcut = shortcutFromRecord(record);
  if (!shortcut && !record.is_null()) {
    spdlog::warn(
        "\"{}\" in the settings is no shortcut (a function key, or a key with Super, Control or Alt); none is "
        "registered until it is set",
        defaultsKey_);
  }
  if (shortcut == wanted_ && registration_) {
    return;
  }
  ++round_;
  registration_.reset();
  wanted_ = shortcut;
  toldFor_.reset();
  tryToRegister();
}

void JLShortcutBinding::tryToRegister() {
  if (!wanted_ || isSuspended_) {
    return;
  }
  GlobalShortcuts& shortcuts = *Platform::current().shortcuts;
  GlobalShortcuts::Registration made = shortcuts.registerShortcut(*wanted_, handler_);
  if (made.state == ShortcutState::registered) {
    registration_ = std::move(made.token);
    spdlog::debug("{} opens the query window", shortcuts.describe(*wanted_));
    return;
  }
  if (made.state != ShortcutState::outOfReach) {
    tellUser(made.state);
  } else if (std::exchange(loggedFor_, wanted_) != wanted_) {
    spdlog::warn("Nobody is there who keeps {} for this program; it is tried again", shortcuts.describe(*wanted_));
  }
  tryAgainLater();
}

void JLShortcutBinding::tryAgainLater() {
  Platform::current().queues->mainQueue().postAfter(kRetryInterval, [weak = std::weak_ptr(self_), round = round_] {
    const auto self = weak.lock();
    if (self && (*self)->round_ == round) {
      (*self)->tryToRegister();
    }
  });
}

void JLShortcutBinding::tellUser(ShortcutState state) {
  if (isTelling_ || toldFor_ == wanted_) {
    return;
  }
  toldFor_ = wanted_;
  const Platform& platform = Platform::current();
  const std::string name = platform.shortcuts->describe(*wanted_);
  const std::optional<Shortcut> offered = freeShortcut();
  const Alert alert =
      alertFor(state, name, offered ? std::optional(platform.shortcuts->describe(*offered)) : std::nullopt);
  spdlog::warn("{}. {}", alert.title, alert.text.substr(0, alert.text.find('\n')));
  if (!platform.views) {
    return;
  }
  isTelling_ = true;
  platform.views->showAlert(alert, [weak = std::weak_ptr(self_), offered](int button) {
    if (const auto self = weak.lock()) {
      (*self)->userChose(offered, button);
    }
  });
}

void JLShortcutBinding::userChose(const std::optional<Shortcut>& offered, int button) {
  isTelling_ = false;
  if (offered && button == 0) {
    Defaults& defaults = *Platform::current().defaults;
    defaults.setValue(defaultsKey_, recordOfShortcut(*offered));
    defaults.synchronize();
  }
}

std::optional<Shortcut> JLShortcutBinding::freeShortcut() {
  for (const Shortcut& candidate : kCandidates) {
    if (Platform::current().shortcuts->probe(candidate) == ShortcutState::registered) {
      return candidate;
    }
  }
  return std::nullopt;
}

}  // namespace jumplark

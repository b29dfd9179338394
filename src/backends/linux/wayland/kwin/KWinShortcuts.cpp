#include "backends/linux/wayland/kwin/KWinShortcuts.h"

#include <fmt/format.h>
#include <systemd/sd-bus.h>
#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon.h>

#include <algorithm>
#include <iterator>

#include "platform/Input.h"
#include "platform/Texts.h"

namespace jumplark::kwin {
namespace {

using Result = SessionBus::Result;

const SessionBus::Object kService{"org.kde.kglobalaccel", "/kglobalaccel", "org.kde.KGlobalAccel"};

// Bits of "setShortcut".
constexpr uint32_t kSetPresent = 2;
constexpr uint32_t kNoAutoloading = 4;
constexpr uint32_t kIsDefault = 8;

/// The one that a person knows; it stays in the system's settings.
constexpr const char* kActivate = "activate";
/// A key that is kept for a moment; with its number.
constexpr const char* kMomentary = "again";

/// Component and action, as names and as a person reads them.
std::vector<std::string> idOf(const std::string& action) {
  return {KWinShortcuts::kComponent, action, "Jumplark",
          action == kActivate ? localized("Show or hide the query window") : localized("Click once more")};
}

int appendId(sd_bus_message* message, const std::string& action) {
  std::vector<std::string> id = idOf(action);
  std::vector<char*> texts;
  std::ranges::transform(id, std::back_inserter(texts), [](std::string& text) { return text.data(); });
  texts.push_back(nullptr);
  return sd_bus_message_append_strv(message, texts.data());
}

/// The action's, of those that take nothing else.
BusCalls::Arguments idAlone(const std::string& action) {
  return [action](sd_bus_message* message) { return appendId(message, action); };
}

/// What undoes the binding: a key of the moment leaves nothing behind.
const char* undoing(const std::string& action) {
  return action == kActivate ? "setInactive" : "unRegister";
}

int32_t firstKey(const BusCalls::Answer& answer) {
  return answer.values.at(0).at(0).number();
}

/// From a list of sequences. What "defaultShortcut" answers in numbers alone is the shortcut that is set.
int32_t defaultKey(const BusCalls::Answer& answer) {
  return answer.values.at(0).at(0).at(0).at(0).number();
}

int32_t plainQtKey(uint32_t keysym) {
  static constexpr std::pair<uint32_t, int32_t> kNamed[] = {
      {XKB_KEY_Escape, 0x01000000},   {XKB_KEY_Tab, 0x01000001},         {XKB_KEY_BackSpace, 0x01000003},
      {XKB_KEY_Return, 0x01000004},   {XKB_KEY_KP_Enter, 0x01000005},    {XKB_KEY_Insert, 0x01000006},
      {XKB_KEY_Delete, 0x01000007},   {XKB_KEY_Pause, 0x01000008},       {XKB_KEY_Print, 0x01000009},
      {XKB_KEY_Home, 0x01000010},     {XKB_KEY_End, 0x01000011},         {XKB_KEY_Left, 0x01000012},
      {XKB_KEY_Up, 0x01000013},       {XKB_KEY_Right, 0x01000014},       {XKB_KEY_Down, 0x01000015},
      {XKB_KEY_Page_Up, 0x01000016},  {XKB_KEY_Page_Down, 0x01000017},   {XKB_KEY_Caps_Lock, 0x01000024},
      {XKB_KEY_Num_Lock, 0x01000025}, {XKB_KEY_Scroll_Lock, 0x01000026}, {XKB_KEY_Menu, 0x01000055}};
  constexpr int32_t kF1 = 0x01000030;
  const auto* const named = std::ranges::find(kNamed, keysym, &std::pair<uint32_t, int32_t>::first);
  if (named != std::end(kNamed)) {
    return named->second;
  }
  if (keysym >= XKB_KEY_F1 && keysym <= XKB_KEY_F35) {
    return kF1 + static_cast<int32_t>(keysym - XKB_KEY_F1);
  }
  // Letters by their capitals.
  const uint32_t character = xkb_keysym_to_utf32(xkb_keysym_to_upper(keysym));
  return character >= ' ' ? static_cast<int32_t>(character) : 0;
}

}  // namespace

int32_t qtKeyOf(uint32_t keysym, uint64_t modifiers) {
  static constexpr std::pair<uint64_t, int32_t> kModifiers[] = {{modifier_flag::shift, 0x02000000},
                                                                {modifier_flag::control, 0x04000000},
                                                                {modifier_flag::option, 0x08000000},
                                                                {modifier_flag::command, 0x10000000}};
  int32_t key = plainQtKey(keysym);
  for (const auto& [flag, bit] : kModifiers) {
    key |= key != 0 && (modifiers & flag) != 0 ? bit : 0;
  }
  return key;
}

KWinShortcuts::~KWinShortcuts() {
  const std::lock_guard lock(mutex_);
  for (const auto& [combination, bound] : bound_) {
    undo(bound.action);
  }
}

BusCalls::Answer KWinShortcuts::ask(const char* member, const BusCalls::Arguments& arguments) {
  return calls_.call(kService, member, arguments);
}

/// The key that the service has set in the end; 0 when another program has it.
int32_t KWinShortcuts::setShortcut(const std::string& action, int32_t key, uint32_t flags) {
  return firstKey(ask("setShortcut", [&](sd_bus_message* message) {
    const int r = appendId(message, action);
    return r < 0 ? r : sd_bus_message_append(message, "aiu", 1, key, flags);
  }));
}

bool KWinShortcuts::isFree(int32_t key) {
  const auto answer = ask("isGlobalShortcutAvailable", [&](sd_bus_message* message) {
    return sd_bus_message_append(message, "is", key, kComponent);
  });
  if (answer.result == Result::answered) {
    return answer.values.at(0).number() != 0;
  }
  // Newer services ask for sequences, of four keys at the most.
  const auto sequence = ask("globalShortcutAvailable", [&](sd_bus_message* message) {
    return sd_bus_message_append(message, "(ai)s", 4, key, 0, 0, 0, kComponent);
  });
  return sequence.result != Result::answered || sequence.values.at(0).number() != 0;
}

Compositor::Binding KWinShortcuts::request(const std::string& action, int32_t key) {
  using Binding = Compositor::Binding;
  if (ask("doRegister", idAlone(action)).result != Result::answered) {
    return Binding::refused;
  }
  const int32_t before = action == kActivate ? firstKey(ask("shortcut", idAlone(action))) : 0;
  // The user's own choice in the system's settings holds as long as ours has not changed since.
  const bool isAsBefore = before != 0 && defaultKey(ask("defaultShortcutKeys", idAlone(action))) == key;
  // A combination that the action has itself is not free either.
  if ((!isAsBefore && before != key && !isFree(key)) ||
      setShortcut(action, key, isAsBefore ? kSetPresent : kSetPresent | kNoAutoloading) == 0) {
    return Binding::taken;
  }
  if (action == kActivate) {
    setShortcut(action, key, kIsDefault);
  }
  return Binding::bound;
}

void KWinShortcuts::undo(const std::string& action) {
  ask(undoing(action), idAlone(action));
}

Compositor::Binding KWinShortcuts::bind(uint32_t key, uint64_t modifiers, std::function<void()> pressed) {
  const int32_t number = qtKeyOf(key, modifiers);
  if (number == 0) {
    return Compositor::Binding::refused;
  }
  const std::string action = modifiers != 0 ? kActivate : fmt::format("{}-{:x}", kMomentary, number);
  const std::lock_guard lock(mutex_);
  const Compositor::Binding result = request(action, number);
  const auto before = std::ranges::find_if(bound_, [&](const auto& one) { return one.second.action == action; });
  if (result == Compositor::Binding::bound) {
    if (before != bound_.end()) {
      bound_.erase(before);
    }
    bound_[{key, modifiers}] = {action, number, std::make_shared<std::function<void()>>(std::move(pressed))};
  } else if (before != bound_.end()) {
    request(action, before->second.key);
  } else {
    undo(action);
  }
  return result;
}

void KWinShortcuts::release(uint32_t key, uint64_t modifiers) {
  const std::lock_guard lock(mutex_);
  if (const auto found = bound_.find({key, modifiers}); found != bound_.end()) {
    undo(found->second.action);
    bound_.erase(found);
  }
}

bool KWinShortcuts::isTaken(uint32_t key, uint64_t modifiers) {
  const int32_t number = qtKeyOf(key, modifiers);
  const std::lock_guard lock(mutex_);
  return number != 0 && !isFree(number);
}

void KWinShortcuts::pressed(const std::string& action) {
  std::shared_ptr<std::function<void()>> pressed;
  {
    const std::lock_guard lock(mutex_);
    const auto found = std::ranges::find_if(bound_, [&](const auto& one) { return one.second.action == action; });
    pressed = found != bound_.end() ? found->second.pressed : nullptr;
  }
  if (pressed) {
    (*pressed)();
  }
}

void KWinShortcuts::bindAnew() {
  const std::lock_guard lock(mutex_);
  for (const auto& [combination, bound] : bound_) {
    request(bound.action, bound.key);
  }
}

void KWinShortcuts::forget() {
  const std::lock_guard lock(mutex_);
  bound_.clear();
}

std::vector<LastRequest> KWinShortcuts::farewell() {
  const std::lock_guard lock(mutex_);
  std::vector<LastRequest> requests;
  for (const auto& [combination, bound] : bound_) {
    requests.push_back(
        {kService.busName, kService.path, kService.interface, undoing(bound.action), "as", idOf(bound.action)});
  }
  return requests;
}

}  // namespace jumplark::kwin

#include "backends/linux/wayland/gnome/ShellBindings.h"

#include <xkbcommon/xkbcommon.h>

#include <array>
#include <utility>
#include <vector>

#include "platform/Input.h"

namespace jumplark::gnome {
namespace {

Write with(const std::string& combination) {
  return [&combination](sd_bus_message* question) { return sd_bus_message_append(question, "s", combination.c_str()); };
}

}  // namespace

std::string accelerator(uint32_t key, uint64_t modifiers) {
  constexpr std::pair<uint64_t, const char*> kNames[] = {{modifier_flag::control, "<Control>"},
                                                         {modifier_flag::option, "<Alt>"},
                                                         {modifier_flag::command, "<Super>"},
                                                         {modifier_flag::shift, "<Shift>"}};
  std::string text;
  for (const auto& [flag, name] : kNames) {
    text += (modifiers & flag) != 0 ? name : "";
  }
  std::array<char, 64> name{};
  return xkb_keysym_get_name(key, name.data(), name.size()) > 0 ? text + name.data() : std::string();
}

Bindings::~Bindings() {
  for (const auto& [combination, pressed] : bound_) {
    bus_->call("Unbind", with(combination));
  }
}

bool Bindings::asks(const char* method, const std::string& combination, Answer& answer) {
  int yes = 0;
  answer = bus_->call(method, with(combination),
                      [&](sd_bus_message* reply) { return sd_bus_message_read(reply, "b", &yes); });
  return yes != 0;
}

Compositor::Binding Bindings::bind(uint32_t key, uint64_t modifiers, std::function<void()> pressed) {
  const std::string combination = accelerator(key, modifiers);
  Answer answer = Answer::refused;
  const bool isBound = !combination.empty() && asks("Bind", combination, answer);
  if (!isBound) {
    return answer == Answer::given ? Compositor::Binding::taken : Compositor::Binding::refused;
  }
  const std::lock_guard lock(mutex_);
  bound_[combination] = std::make_shared<std::function<void()>>(std::move(pressed));
  return Compositor::Binding::bound;
}

void Bindings::release(uint32_t key, uint64_t modifiers) {
  const std::string combination = accelerator(key, modifiers);
  {
    const std::lock_guard lock(mutex_);
    if (bound_.erase(combination) == 0) {
      return;
    }
  }
  bus_->call("Unbind", with(combination));
}

bool Bindings::isTaken(uint32_t key, uint64_t modifiers) {
  const std::string combination = accelerator(key, modifiers);
  Answer answer = Answer::refused;
  return !combination.empty() && asks("IsTaken", combination, answer);
}

void Bindings::pressed(const std::string& combination) {
  std::shared_ptr<std::function<void()>> pressed;
  {
    const std::lock_guard lock(mutex_);
    const auto found = bound_.find(combination);
    pressed = found != bound_.end() ? found->second : nullptr;
  }
  if (pressed) {
    (*pressed)();
  }
}

void Bindings::bindAnew() {
  std::vector<std::string> combinations;
  {
    const std::lock_guard lock(mutex_);
    for (const auto& [combination, pressed] : bound_) {
      combinations.push_back(combination);
    }
  }
  Answer answer = Answer::refused;
  for (const std::string& combination : combinations) {
    asks("Bind", combination, answer);
  }
}

}  // namespace jumplark::gnome

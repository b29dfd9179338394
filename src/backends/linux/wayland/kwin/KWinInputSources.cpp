#include "backends/linux/wayland/kwin/KWinInputSources.h"

#include <systemd/sd-bus.h>

#include <algorithm>

#include "backends/linux/wayland/KeymapText.h"

namespace jumplark::kwin {
namespace {

const SessionBus::Object kLayouts{"org.kde.keyboard", "/Layouts", "org.kde.KeyboardLayouts"};
constexpr const char* kGet = "getLayout";
constexpr const char* kSet = "setLayout";

}  // namespace

std::vector<std::string> KWinInputSources::identifiers() {
  std::vector<std::string> result;
  for (const std::string& name : connection_ ? groupsOf(connection_->keymap()) : std::vector<std::string>()) {
    result.push_back(names_.identifierOf(name));
  }
  return result;
}

std::vector<InputSource> KWinInputSources::selectableKeyboardLayouts() {
  std::vector<InputSource> result;
  for (const std::string& identifier : identifiers()) {
    result.push_back({identifier, names_.localized(identifier)});
  }
  return result;
}

std::optional<InputSource> KWinInputSources::currentKeyboardLayout() {
  const std::vector<std::string> known = identifiers();
  // The only one where nobody answers.
  const auto answer = known.size() > 1 ? calls_.call(kLayouts, kGet) : BusCalls::Answer();
  const int32_t index = answer.values.at(0).number();
  if (index < 0 || static_cast<size_t>(index) >= known.size()) {
    return std::nullopt;
  }
  const std::string& identifier = known[static_cast<size_t>(index)];
  return InputSource{identifier, names_.localized(identifier)};
}

bool KWinInputSources::select(const std::string& identifier) {
  const std::vector<std::string> known = identifiers();
  const auto found = std::ranges::find(known, identifier);
  if (found == known.end()) {
    return false;
  }
  if (known.size() == 1) {
    return true;
  }
  const auto index = static_cast<uint32_t>(found - known.begin());
  const auto before = calls_.call(kLayouts, kGet);
  if (before.result != SessionBus::Result::answered) {
    return false;
  }
  {
    const std::lock_guard lock(mutex_);
    const uint32_t own = usersOwn_.value_or(static_cast<uint32_t>(before.values.at(0).number()));
    usersOwn_ = own == index ? std::nullopt : std::optional(own);
  }
  changing_();
  const auto answer =
      calls_.call(kLayouts, kSet, [&](sd_bus_message* message) { return sd_bus_message_append(message, "u", index); });
  return answer.values.at(0).number() != 0;
}

std::vector<LastRequest> KWinInputSources::farewell() const {
  const std::lock_guard lock(mutex_);
  if (!usersOwn_) {
    return {};
  }
  return {{kLayouts.busName, kLayouts.path, kLayouts.interface, kSet, "u", {}, *usersOwn_}};
}

}  // namespace jumplark::kwin

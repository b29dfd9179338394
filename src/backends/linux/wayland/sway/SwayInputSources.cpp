#include "backends/linux/wayland/sway/SwayInputSources.h"

#include <fmt/format.h>

#include <algorithm>

#include "backends/linux/wayland/LooseJson.h"

namespace jumplark::sway {

using namespace loose_json;

InputSources::Layouts InputSources::read() {
  Layouts best;
  const auto answer = ipc_->ask(Message::getInputs);
  for (const auto& input : answer && answer->is_array() ? *answer : nlohmann::json::array()) {
    if (text(input, "type") != "keyboard") {
      continue;
    }
    Layouts layouts;
    for (const auto& name : list(input, "xkb_layout_names")) {
      if (name.is_string()) {
        layouts.identifiers.push_back(names_.identifierOf(name.get<std::string>()));
      }
    }
    layouts.active = static_cast<size_t>(std::max<int64_t>(0, integer(input, "xkb_active_layout_index", 0)));
    if (layouts.identifiers.size() > best.identifiers.size()) {
      best = std::move(layouts);
    }
  }
  return best;
}

std::vector<InputSource> InputSources::selectableKeyboardLayouts() {
  std::vector<InputSource> result;
  for (const std::string& identifier : read().identifiers) {
    result.push_back({identifier, names_.localized(identifier)});
  }
  return result;
}

std::optional<InputSource> InputSources::currentKeyboardLayout() {
  const Layouts layouts = read();
  if (layouts.active >= layouts.identifiers.size()) {
    return std::nullopt;
  }
  const std::string& identifier = layouts.identifiers[layouts.active];
  return InputSource{identifier, names_.localized(identifier)};
}

bool InputSources::select(const std::string& identifier) {
  const Layouts layouts = read();
  const auto found = std::ranges::find(layouts.identifiers, identifier);
  return found != layouts.identifiers.end() &&
         !ipc_->run(fmt::format("input type:keyboard xkb_switch_layout {}", found - layouts.identifiers.begin()));
}

}  // namespace jumplark::sway

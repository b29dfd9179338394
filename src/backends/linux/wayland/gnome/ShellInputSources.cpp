#include "backends/linux/wayland/gnome/ShellInputSources.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "backends/linux/wayland/LooseJson.h"

namespace jumplark::gnome {
namespace {

/// "de+neo" is the shell's name of a layout with a variant.
std::string layoutOf(const std::string& name) {
  const size_t plus = name.find('+');
  return plus == std::string::npos ? name : layoutIdentifier(name.substr(0, plus), name.substr(plus + 1));
}

}  // namespace

SourceList readSources(std::string_view json) {
  using namespace loose_json;
  const nlohmann::json told = nlohmann::json::parse(json, nullptr, false);
  SourceList result;
  result.current = integer(told, "current", -1);
  for (const auto& source : list(told, "sources")) {
    const bool isLayout = text(source, "type") == "xkb";
    result.sources.push_back({isLayout ? layoutOf(text(source, "id")) : std::string(),
                              static_cast<uint32_t>(std::max<int64_t>(0, integer(source, "place", 0)))});
  }
  std::erase_if(result.sources, [](const auto& source) { return source.layout.empty(); });
  return result;
}

SourceList InputSources::ask() {
  SourceList result;
  bus_->call("InputSources", {}, [&](sd_bus_message* reply) {
    const char* told = nullptr;
    const int r = sd_bus_message_read(reply, "s", &told);
    result = r > 0 ? readSources(told) : SourceList{};
    return r;
  });
  return result;
}

std::vector<InputSource> InputSources::selectableKeyboardLayouts() {
  std::vector<InputSource> result;
  for (const auto& source : ask().sources) {
    result.push_back({source.layout, names_.localized(source.layout)});
  }
  return result;
}

std::optional<InputSource> InputSources::currentKeyboardLayout() {
  const SourceList list = ask();
  const auto found =
      std::ranges::find_if(list.sources, [&](const auto& source) { return source.place == list.current; });
  return found == list.sources.end() ? std::nullopt
                                     : std::optional(InputSource{found->layout, names_.localized(found->layout)});
}

bool InputSources::select(const std::string& identifier) {
  const SourceList list = ask();
  const auto found = std::ranges::find(list.sources, identifier, &SourceList::Source::layout);
  return found != list.sources.end() && bus_->does("SelectInputSource", [&](sd_bus_message* question) {
    return sd_bus_message_append(question, "u", found->place);
  });
}

}  // namespace jumplark::gnome

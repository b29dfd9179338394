#include "tree/StrippedNames.h"

#include <functional>
#include <mutex>
#include <unordered_map>

namespace jumplark {
namespace {

struct TextHash {
  using is_transparent = void;
  size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
};

std::string stripped(std::string_view name) {
  constexpr std::string_view kPrefix = "AX";
  std::string result;
  for (size_t i = 0; i < name.size();) {
    if (name.substr(i, kPrefix.size()) == kPrefix) {
      i += kPrefix.size();
    } else {
      result += name[i++];
    }
  }
  return result;
}

}  // namespace

const std::string& strippedName(std::string_view name) {
  static std::mutex mutex;
  static std::unordered_map<std::string, std::string, TextHash, std::equal_to<>> table;
  const std::lock_guard lock(mutex);
  if (const auto known = table.find(name); known != table.end()) {
    return known->second;
  }
  return table.emplace(std::string(name), stripped(name)).first->second;
}

}  // namespace jumplark

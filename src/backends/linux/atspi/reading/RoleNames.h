#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

namespace jumplark::atspi {

/// What applications call their roles in the user's language, which stays the same as long as they run. Not for
/// browsers, whose pages name their elements' roles as they like. Calls may come from any thread.
class RoleNames {
 public:
  std::optional<std::string> find(const std::string& busName, uint32_t role) const {
    const std::lock_guard lock(mutex_);
    const auto application = names_.find(busName);
    if (application == names_.end()) {
      return std::nullopt;
    }
    const auto name = application->second.find(role);
    return name == application->second.end() ? std::nullopt : std::optional(name->second);
  }

  void keep(const std::string& busName, uint32_t role, const std::string& name) {
    const std::lock_guard lock(mutex_);
    if (names_.size() >= kMostApplications && !names_.contains(busName)) {
      names_.clear();
    }
    names_[busName][role] = name;
  }

 private:
  static constexpr size_t kMostApplications = 100;

  mutable std::mutex mutex_;
  std::unordered_map<std::string, std::map<uint32_t, std::string>> names_;
};

}  // namespace jumplark::atspi

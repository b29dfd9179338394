#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "backends/linux/atspi/bus/MethodCall.h"

namespace jumplark::atspi {

/// What the readings of one application until now tell the next ones about how to read it.
struct Experience {
  using References = std::unordered_set<ElementRef, ElementRefHash>;

  bool isWoken = false;
  bool hasQuickCache = false;
  bool hasSlowCache = false;
  TimePoint cacheUnreadableUntil;  ///< a text that cannot be read is seldom there for long
  /// What it calls its roles in the user's language. Not of browsers, whose pages name them as they like.
  std::map<uint32_t, std::string> roleNames;
  /// What the last snapshot named and did not show, where the cache cannot tell that; never null.
  std::shared_ptr<const References> hidden = std::make_shared<const References>();
  References blankPages;  ///< that stayed empty
};

/// The experience with every application, by bus name. Calls may come from any thread.
class Experiences {
 public:
  /// Gives `use` that of one application; it waits for nothing and calls nothing here.
  template <typename Use>
  auto of(const std::string& busName, Use use) {
    const std::lock_guard lock(mutex_);
    if (known_.size() >= kMostApplications && !known_.contains(busName)) {
      known_.clear();
    }
    return use(known_[busName]);
  }

 private:
  static constexpr size_t kMostApplications = 1000;

  std::mutex mutex_;  ///< leaf
  std::unordered_map<std::string, Experience> known_;
};

}  // namespace jumplark::atspi

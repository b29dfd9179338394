#pragma once

#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <string>

#include "platform/Token.h"

namespace jumplark {

using DefaultsValue = nlohmann::json;  ///< null stands for "absent"

/// The user's settings, kept over restarts. Calls may come from any thread. A value that another program writes is seen
/// like one written here.
class Defaults {
 public:
  /// Called on the main queue with the current value, or null when the key has none.
  using Observer = std::function<void(const DefaultsValue& value)>;

  virtual ~Defaults() = default;

  /// The stored value, else the registered one, else null.
  virtual DefaultsValue value(const std::string& key) = 0;
  /// Stores a value; null removes the stored one.
  virtual void setValue(const std::string& key, DefaultsValue value) = 0;
  /// Values that hold while none is stored; never written.
  virtual void registerDefaults(const std::map<std::string, DefaultsValue>& values) = 0;
  /// Writes what is not yet written and reads what others have written; false when it cannot be written (it is then
  /// kept in memory and tried again with the next change).
  virtual bool synchronize() = 0;
  /// Calls back after every change of the key's value until the token is destroyed. The first value is not announced:
  /// ask for it.
  virtual Token observe(const std::string& key, Observer observer) = 0;
  /// Calls back on the main queue with a sentence for the user, once for each time that stored settings could not be
  /// read or kept, also for what happened before the call. One observer at a time, until the token is destroyed.
  virtual Token observeProblems(const std::function<void(const std::string& problem)>& /*told*/) { return {}; }

  bool boolean(const std::string& key, bool fallback = false) {
    const DefaultsValue found = value(key);
    return found.is_boolean() ? found.get<bool>() : found.is_number() ? found != 0 : fallback;
  }
  std::string text(const std::string& key) {
    const DefaultsValue found = value(key);
    return found.is_string() ? found.get<std::string>() : std::string();
  }
};

}  // namespace jumplark

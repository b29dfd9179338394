#pragma once

#include <map>
#include <mutex>
#include <string>

#include "backends/threads/DefaultsObservers.h"
#include "platform/Defaults.h"

namespace jumplark {

/// Settings in memory. Another program's change is played by setValue(). Safe on any thread.
class RecordedDefaults : public Defaults {
 public:
  explicit RecordedDefaults(Queues& queues) : observers_(queues) {}

  DefaultsValue value(const std::string& key) override;
  void setValue(const std::string& key, DefaultsValue value) override;
  void registerDefaults(const std::map<std::string, DefaultsValue>& values) override;
  bool synchronize() override;
  Token observe(const std::string& key, Observer observer) override;

  /// For tests: the stored value alone, null when the key has none.
  DefaultsValue storedValue(const std::string& key) const;
  /// How often synchronize() was called.
  int synchronizeCount() const;
  /// From now on synchronize() fails or succeeds.
  void setWritable(bool writable);

 private:
  DefaultsValue valueLocked(const std::string& key) const;

  DefaultsObservers observers_;
  mutable std::mutex mutex_;
  std::map<std::string, DefaultsValue> stored_;
  std::map<std::string, DefaultsValue> registered_;
  int synchronizeCount_ = 0;
  bool writable_ = true;
};

}  // namespace jumplark

#include "backends/recorded/RecordedDefaults.h"

#include <utility>

namespace jumplark {

DefaultsValue RecordedDefaults::valueLocked(const std::string& key) const {
  if (const auto found = stored_.find(key); found != stored_.end()) {
    return found->second;
  }
  const auto found = registered_.find(key);
  return found != registered_.end() ? found->second : DefaultsValue();
}

DefaultsValue RecordedDefaults::value(const std::string& key) {
  const std::scoped_lock lock(mutex_);
  return valueLocked(key);
}

void RecordedDefaults::setValue(const std::string& key, DefaultsValue value) {
  DefaultsValue now;
  {
    const std::scoped_lock lock(mutex_);
    const DefaultsValue before = valueLocked(key);
    if (value.is_null()) {
      stored_.erase(key);
    } else {
      stored_[key] = std::move(value);
    }
    now = valueLocked(key);
    if (now == before) {
      return;
    }
  }
  observers_.announce(key, now);
}

void RecordedDefaults::registerDefaults(const std::map<std::string, DefaultsValue>& values) {
  std::map<std::string, DefaultsValue> changed;
  {
    const std::scoped_lock lock(mutex_);
    for (const auto& [key, value] : values) {
      const DefaultsValue before = valueLocked(key);
      registered_[key] = value;
      if (valueLocked(key) != before) {
        changed[key] = value;
      }
    }
  }
  for (const auto& [key, value] : changed) {
    observers_.announce(key, value);
  }
}

bool RecordedDefaults::synchronize() {
  const std::scoped_lock lock(mutex_);
  ++synchronizeCount_;
  return writable_;
}

Token RecordedDefaults::observe(const std::string& key, Observer observer) {
  return observers_.observe(key, std::move(observer));
}

DefaultsValue RecordedDefaults::storedValue(const std::string& key) const {
  const std::scoped_lock lock(mutex_);
  const auto found = stored_.find(key);
  return found != stored_.end() ? found->second : DefaultsValue();
}

int RecordedDefaults::synchronizeCount() const {
  const std::scoped_lock lock(mutex_);
  return synchronizeCount_;
}

void RecordedDefaults::setWritable(bool writable) {
  const std::scoped_lock lock(mutex_);
  writable_ = writable;
}

}  // namespace jumplark

#pragma once

#include <gmock/gmock.h>

#include "accessibility/JLElement.h"
#include "backends/recorded/RecordedPlatform.h"

namespace jumplark::testing {

/// A recorded desktop installed as the platform for one test.
class RecordedFixture {
 public:
  explicit RecordedFixture(const std::string& json)
      : recorded_(RecordedDesktop::fromText(json, "test")), installed_(Platform::install(recorded_.platform())) {}
  ~RecordedFixture() { JLElement::flushCache(); }
  RecordedFixture(const RecordedFixture&) = delete;
  RecordedFixture& operator=(const RecordedFixture&) = delete;

  RecordedPlatform* operator->() { return &recorded_; }
  JLElement::Pointer element(const std::string& id) {
    return JLElement::elementWithElementRef(recorded_.accessibility().element(id));
  }
  /// Runs something as the main thread does: in a task of its queue, and to its end.
  void onMainThread(const std::function<void()>& action) {
    recorded_.queues().mainQueue().post(action);
    recorded_.queues().runPending();
  }

 private:
  RecordedPlatform recorded_;
  Token installed_;
};

}  // namespace jumplark::testing

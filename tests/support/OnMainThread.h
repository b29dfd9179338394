#pragma once

#include <functional>

#include "support/RecordedFixture.h"

namespace jumplark::testing {

/// Runs something as the main thread does: in a task of its queue, and to its end.
inline void onMainThread(RecordedFixture& desktop, const std::function<void()>& action) {
  desktop->queues().mainQueue().post(action);
  desktop->queues().runPending();
}

}  // namespace jumplark::testing

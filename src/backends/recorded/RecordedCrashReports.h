#pragma once

#include <utility>
#include <vector>

#include "platform/CrashReports.h"

namespace jumplark {

/// What earlier runs have left, as a test says.
class RecordedCrashReports : public CrashReports {
 public:
  std::vector<CrashReport> takeNew() override { return std::exchange(waiting, {}); }

  std::vector<CrashReport> waiting;
};

}  // namespace jumplark

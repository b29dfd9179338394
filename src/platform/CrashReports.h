#pragma once

#include <string>
#include <vector>

namespace jumplark {

/// The report of one crash, as it is shown. Names of functions, modules and versions; never what the user typed, read
/// or had on the screen.
struct CrashReport {
  std::string name;  ///< a file name
  std::string text;  ///< lines of UTF-8
};

/// What earlier runs of this program have left when they crashed.
class CrashReports {
 public:
  virtual ~CrashReports() = default;
  /// The reports that were not taken before, the oldest first; each is given once. May take seconds; any thread, one
  /// call at a time.
  virtual std::vector<CrashReport> takeNew() = 0;
};

}  // namespace jumplark

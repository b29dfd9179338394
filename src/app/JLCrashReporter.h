#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "platform/AppViews.h"

namespace jumplark {

class TaskQueue;

/// Shows what an earlier run has left when it crashed, in full, before the program starts. The user can copy and save
/// the report, and send it where the build has an address for that; nothing is sent otherwise. Main thread only.
class JLCrashReporter {
 public:
  /// `collectorAddress`: where reports are posted as plain text, https only; empty for a build without.
  explicit JLCrashReporter(std::string collectorAddress);
  JLCrashReporter(const JLCrashReporter&) = delete;
  JLCrashReporter& operator=(const JLCrashReporter&) = delete;
  /// Closes the window; a report that is on its way is given up.
  ~JLCrashReporter();

  /// Calls back once, on the main queue, when there is no report or the user has closed the window. Once.
  void start(std::function<void()> done);

 private:
  void show();
  void save(const std::string& path);
  void send();
  void sent(bool accepted, const std::string& problem);
  void setStatus(const std::string& status);
  void finish();

  const std::string collectorAddress_;
  std::shared_ptr<JLCrashReporter*> self_;        ///< for answers that come after the end
  std::shared_ptr<std::atomic<bool>> cancelled_;  ///< whether the report on its way is given up
  std::function<void()> done_;
  CrashWindowModel model_;
  std::unique_ptr<CrashWindowView> window_;
  std::shared_ptr<TaskQueue> queue_;  ///< reading and sending, which may take seconds
};

}  // namespace jumplark

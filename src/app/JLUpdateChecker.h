#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>

#include "app/UpdateFeed.h"
#include "platform/AppViews.h"
#include "platform/Token.h"

namespace jumplark {

class RepeatingTimer;
class TaskQueue;

/// Asks the feed of new versions whether there is one and shows what it says. On its own it does so only while the
/// setting is on, at most once a day, not before the program has run for some minutes, and it then shows nothing but a
/// new version. Without an address nothing is ever asked. Main thread only.
class JLUpdateChecker {
 public:
  static constexpr const char* automaticKey = "CheckForUpdates";  ///< setting: boolean, off unless set
  static constexpr const char* lastCheckKey = "LastUpdateCheck";  ///< seconds since 1970, of the last one of its own
  static constexpr const char* skippedKey = "SkippedUpdate";  ///< the version that the user does not want to hear of

  JLUpdateChecker();
  JLUpdateChecker(const JLUpdateChecker&) = delete;
  JLUpdateChecker& operator=(const JLUpdateChecker&) = delete;
  /// Ends a request that is on its way.
  ~JLUpdateChecker();

  /// Empty for a build without one. Starts the watch for the daily check.
  void setFeedAddress(const std::string& address);
  /// The user asks: shows what comes of it, also that there is nothing new, and offers a version that was skipped.
  void checkForUpdates();

 private:
  enum class Asked { byUser, byItself };

  void checkWhenDue();
  void start(Asked asked);
  void finish(const UpdateFeed& feed);
  void show(UpdateWindowModel model, bool takesKeyboard);
  void buttonPressed(int button);
  bool isSkipped(const AnnouncedVersion& announced) const;

  std::string address_;
  std::shared_ptr<JLUpdateChecker*> self_;        ///< for answers that come after the end
  std::shared_ptr<std::atomic<bool>> cancelled_;  ///< of the request on its way; null while there is none
  Asked asked_ = Asked::byItself;
  std::optional<AnnouncedVersion> offered_;  ///< by the window
  std::unique_ptr<UpdateWindowView> window_;
  UpdateWindowModel model_;
  std::shared_ptr<TaskQueue> queue_;
  std::unique_ptr<RepeatingTimer> timer_;
  Token setting_;
};

}  // namespace jumplark

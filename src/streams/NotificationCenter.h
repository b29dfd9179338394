#pragma once

#include <any>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "platform/Token.h"

namespace jumplark {

/// A named announcement within the process. `object` is what it is about; `userInfo` holds texts and numbers by key.
struct Notification {
  std::string name;
  std::any object;
  std::map<std::string, std::any> userInfo;
};

/// Hands notifications to whoever observes their name, on the poster's thread, before post() returns. The order of
/// observers is that of registration. An observer may register, remove and post from its call.
class NotificationCenter {
 public:
  using Observer = std::function<void(const Notification&)>;

  /// The process-wide one.
  static NotificationCenter& defaultCenter();

  /// Observes until the token is destroyed; destroying it waits for a running call, except on that call's own thread.
  Token observe(const std::string& name, Observer observer);
  void post(const Notification& notification);

 private:
  struct Registration;
  std::mutex mutex_;
  std::multimap<std::string, std::shared_ptr<Registration>> registrations_;
};

}  // namespace jumplark

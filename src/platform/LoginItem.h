#pragma once

#include <functional>
#include <string>

#include "platform/Token.h"

namespace jumplark {

/// Whether the session starts this program when the user logs in. Calls come from the main thread.
class LoginItem {
 public:
  virtual ~LoginItem() = default;
  virtual bool isSet() = 0;
  /// Enters the program into the session's start-up list, or takes it out; nothing when it is so already. What went
  /// wrong, in a sentence for the user, or an empty text.
  virtual std::string set(bool on) = 0;
  /// Calls back on the main queue after every change of the list, whoever made it, until the token is destroyed.
  virtual Token observe(std::function<void()> changed) = 0;
};

}  // namespace jumplark

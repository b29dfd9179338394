#pragma once

#include <mutex>
#include <utility>

#include "platform/Token.h"

namespace jumplark {

/// The token of a subscription that may have to be ended before it is known: its first value can arrive while it is
/// still being made. Any thread.
class UpstreamToken {
 public:
  void hold(Token token) {
    const std::scoped_lock lock(mutex_);
    if (!ended_) {
      token_ = std::move(token);
    }
  }
  /// Ends the subscription, or the one that is still to come.
  void end() {
    Token ended;
    const std::scoped_lock lock(mutex_);
    ended_ = true;
    ended = std::move(token_);
  }

 private:
  std::mutex mutex_;
  bool ended_ = false;
  Token token_;
};

}  // namespace jumplark

#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "backends/linux/x11/EventThread.h"
#include "backends/linux/x11/X11Connection.h"

namespace jumplark {

/// Keeps keys from every application with passive grabs, on a connection of its own: to the client that holds a grab
/// the X server does not report raw events of it, and the grabs end with the connection, however that ends.
///
/// The grabs are asynchronous, so nothing is ever frozen; and the active grab that a key press begins is let go at
/// once, so that keys struck while that key is still down reach their application.
class KeySwallower {
 public:
  using Combination = std::pair<uint8_t, uint16_t>;  ///< keycode and the exact core modifiers

  explicit KeySwallower(std::shared_ptr<X11Connection> connection);
  KeySwallower(const KeySwallower&) = delete;
  KeySwallower& operator=(const KeySwallower&) = delete;
  ~KeySwallower();

  /// Swallows exactly these from now on; in force on return. What another client has grabbed stays with it.
  void setCombinations(std::vector<Combination> combinations);

 private:
  std::shared_ptr<X11Connection> x_;
  std::vector<Combination> combinations_;  ///< sorted
  EventThread thread_;
};

}  // namespace jumplark

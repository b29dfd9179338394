#include "backends/linux/crash/CrashRelease.h"

#include <sys/socket.h>

#include <array>
#include <atomic>

namespace jumplark {
namespace {

constexpr int kNone = -1;

/// A place for one socket; read by a signal handler, so there is no lock.
struct Place {
  std::atomic<int> socket{kNone};
};
static_assert(std::atomic<int>::is_always_lock_free);

using Places = std::array<Place, 32>;
// Constant-initialised and never destroyed, since a crash may come at any time.
constinit Places guards;
constinit Places displays;

void shutDownAll(Places& places) noexcept {
  for (Place& place : places) {
    if (const int socket = place.socket.load(); socket != kNone) {
      ::shutdown(socket, SHUT_RDWR);
    }
  }
}

}  // namespace

Token shutDownAtCrash(int socket, CrashRelease kind) {
  for (Place& place : kind == CrashRelease::guard ? guards : displays) {
    int expected = kNone;
    if (place.socket.compare_exchange_strong(expected, socket)) {
      return Token([&place] { place.socket = kNone; });
    }
  }
  return {};
}

void shutDownForCrash() noexcept {
  shutDownAll(guards);
  shutDownAll(displays);
}

}  // namespace jumplark

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "backends/linux/crash/ExitGuard.h"

struct sd_bus;

namespace jumplark::kwin {

/// A method call whose arguments are texts, one ("s") or a list of them ("as"), or a number ("u").
struct LastRequest {
  std::string busName;
  std::string path;
  std::string interface;
  std::string member;
  std::string signature;
  std::vector<std::string> texts;
  uint32_t number = 0;
};

/// Makes calls on the session bus when this process dies, in whatever way. One thread.
class LastRequests {
 public:
  /// Null where there is no session bus or no child process.
  static std::unique_ptr<LastRequests> create();
  LastRequests(const LastRequests&) = delete;
  LastRequests& operator=(const LastRequests&) = delete;
  ~LastRequests();

  void set(const std::vector<LastRequest>& requests);

 private:
  LastRequests() = default;

  sd_bus* bus_ = nullptr;  ///< the child's connection
  std::unique_ptr<ExitGuard> guard_;
};

/// The bytes of a method call as they travel, in the wire format of D-Bus.
std::string encoded(const LastRequest& request, uint32_t serial);

}  // namespace jumplark::kwin

#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace jumplark {

/// A network of this process and of those that it starts from then on, in which every address is this machine and every
/// packet is seen. Made while the process has one thread; needs the right to make namespaces (root, or a kernel that
/// lets users have them).
class ClosedNetwork {
 public:
  /// Throws std::runtime_error with what is missing.
  ClosedNetwork();
  ClosedNetwork(const ClosedNetwork&) = delete;
  ClosedNetwork& operator=(const ClosedNetwork&) = delete;
  ~ClosedNetwork();

  /// The packets since the last call, each as hexadecimal bytes.
  std::vector<std::string> takePackets();

 private:
  int socket_ = -1;
};

}  // namespace jumplark

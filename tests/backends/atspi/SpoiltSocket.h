#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "backends/atspi/FakeApplication.h"
#include "support/TemporaryFolder.h"

namespace jumplark::atspi {

/// The socket of a scripted application's own, with a relay in it that puts bytes of the test's choice for a marker in
/// all that the application says. D-Bus libraries refuse to send what is no UTF-8, and the bus would shut out who does:
/// so only can it be sent. From its making on the application tells its address.
class SpoiltSocket {
 public:
  /// Stands for the bytes; may be part of a bus name, a path or an error's name.
  static constexpr const char* kMarker = "MARKER__";

  explicit SpoiltSocket(FakeApplication& application);
  SpoiltSocket(const SpoiltSocket&) = delete;
  SpoiltSocket& operator=(const SpoiltSocket&) = delete;
  ~SpoiltSocket();

  /// As many bytes as the marker has, so that the lengths in a message stay right.
  void put(const std::string& bytes);
  /// How often the socket has been connected to, and how many markers have gone through it.
  int connections() const { return connections_; }
  int spoilt() const { return spoilt_; }

 private:
  void loop();
  void relay(int client);
  /// All that may be passed on; the start of a marker whose end has not come yet stays in `said`.
  std::string spoil(std::string& said);

  FakeApplication& application_;
  testing::TemporaryFolder folder_;
  std::mutex mutex_;
  std::string bytes_;
  std::atomic<int> connections_{0};
  std::atomic<int> spoilt_{0};
  int listening_ = -1;
  int stop_ = -1;
  std::thread thread_;
};

}  // namespace jumplark::atspi

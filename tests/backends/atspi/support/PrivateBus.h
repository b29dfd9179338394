#pragma once

#include <atomic>
#include <memory>
#include <thread>

#include "desktop/support/Process.h"
#include "support/TemporaryFolder.h"

struct sd_bus;
struct sd_bus_message;

namespace jumplark::atspi {

/// A bus daemon of the test's own, which starts no services. Ends with the object.
class PrivateBus {
 public:
  /// Throws std::runtime_error when the daemon does not come up.
  PrivateBus();

  const std::string& address() const { return address_; }

 private:
  testing::TemporaryFolder folder_;
  std::string address_;
  std::unique_ptr<desktop::Process> daemon_;
};

/// A connection with a thread of its own that answers method calls. Everything that is not answered gets UnknownObject.
class FakePeer {
 public:
  /// Answers the message and returns true, or returns false. Runs on the peer's thread.
  using Handler = std::function<bool(sd_bus_message* message)>;

  FakePeer(const std::string& address, const std::string& wellKnownName, Handler handler);
  /// Serves the first who connects to a listening socket, which it closes, without a bus.
  FakePeer(int listening, Handler handler);
  FakePeer(const FakePeer&) = delete;
  FakePeer& operator=(const FakePeer&) = delete;
  ~FakePeer();

  const std::string& uniqueName() const { return uniqueName_; }
  int received() const { return received_; }
  /// Stops answering, as a process does that is stuck; what arrives meanwhile is kept by the system.
  void hang() { hung_ = true; }
  void resume() { hung_ = false; }

 private:
  static int onMessage(sd_bus_message* message, void* data);
  void begin();
  void loop();

  Handler handler_;
  sd_bus* bus_ = nullptr;
  std::string uniqueName_;
  std::atomic<int> received_{0};
  std::atomic<bool> hung_{false};
  std::atomic<bool> stopping_{false};
  int listening_ = -1;
  std::thread thread_;
};

}  // namespace jumplark::atspi

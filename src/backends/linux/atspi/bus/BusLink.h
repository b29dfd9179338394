#pragma once

#include <functional>
#include <memory>
#include <string>

#include "backends/linux/atspi/bus/MethodCall.h"

struct pollfd;

namespace jumplark::atspi {

/// A message under way. Destroying it guarantees that its answer is not delivered any more.
class PendingAnswer {
 public:
  virtual ~PendingAnswer() = default;
};

/// One sd-bus connection, to a bus or straight to an application's socket. All calls on one thread. Nothing here
/// blocks, except waitUntil for as long as it is told.
class BusLink {
 public:
  enum class Kind { bus, peer };
  /// Null when the address is not valid or nobody listens there. `why`, when given, gets the system's reason.
  static std::unique_ptr<BusLink> open(const std::string& address, Kind kind, std::string* why = nullptr);
  BusLink(const BusLink&) = delete;
  BusLink& operator=(const BusLink&) = delete;
  ~BusLink();

  /// Calls back from process() with the decoded reply; never after the returned object is gone. Null when the message
  /// cannot be made or sent. The call outlives the returned object.
  std::unique_ptr<PendingAnswer> send(const MethodCall& call, std::function<void(Reply)> onReply);

  /// Handles what has arrived, at most some messages at once; true when more may be waiting.
  bool process();
  /// False once the other end has gone.
  bool alive() const { return alive_; }
  /// What to poll for, and until when.
  pollfd pollRequest() const;
  TimePoint wakeUpAt() const;

  /// Processes this link only until the condition holds; false at the deadline or when the link has died.
  bool waitUntil(const std::function<bool()>& condition, TimePoint deadline);
  /// A call waited for on the spot; for setting up connections.
  Reply callAndWait(const MethodCall& call, TimePoint deadline);
  /// Writes a boolean property, and waits.
  AccessibilityError setBooleanAndWait(const char* busName, const char* path, const char* interface,
                                       const char* property, bool value, TimePoint deadline);

 private:
  struct Private;
  explicit BusLink(std::unique_ptr<Private> d);
  std::unique_ptr<Private> d_;
  bool alive_ = true;
};

/// What an error reply to a call means. `errorName` is a D-Bus error name.
AccessibilityError meaningOfError(const MethodCall& call, const char* errorName);

}  // namespace jumplark::atspi

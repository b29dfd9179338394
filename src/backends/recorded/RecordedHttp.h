#pragma once

#include <functional>
#include <mutex>
#include <vector>

#include "platform/Http.h"

namespace jumplark {

/// A network in memory: a test says what it answers and sees what was asked. Safe on any thread.
class RecordedHttp : public Http {
 public:
  using Responder = std::function<HttpAnswer(const HttpRequest& request)>;

  explicit RecordedHttp(Queues& queues) : queues_(queues) {}

  /// Without a responder there is no network: every request is unreachable.
  HttpAnswer send(const HttpRequest& request) override;

  void setResponder(Responder responder);
  /// How long an answer takes. One that takes longer than the request's time-out never comes.
  void setDelay(Duration delay);
  std::vector<HttpRequest> requests() const;

 private:
  Queues& queues_;
  mutable std::mutex mutex_;
  Responder responder_;
  Duration delay_{0};
  std::vector<HttpRequest> requests_;
};

}  // namespace jumplark

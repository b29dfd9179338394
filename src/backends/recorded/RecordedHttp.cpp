#include "backends/recorded/RecordedHttp.h"

#include <algorithm>
#include <utility>

namespace jumplark {

HttpAnswer RecordedHttp::send(const HttpRequest& request) {
  Responder responder;
  Duration delay;
  {
    const std::scoped_lock lock(mutex_);
    requests_.push_back(request);
    responder = responder_;
    delay = delay_;
  }
  queues_.sleep(std::min(delay, request.timeout));
  HttpAnswer answer;
  if (request.isCancelled && request.isCancelled()) {
    answer.error = HttpError::cancelled;
    answer.problem = "the request was cancelled";
  } else if (delay > request.timeout) {
    answer.error = HttpError::timedOut;
    answer.problem = "the request timed out";
  } else if (!responder) {
    answer.error = HttpError::unreachable;
    answer.problem = "there is no network";
  } else {
    answer = responder(request);
    answer.truncated = answer.truncated || answer.body.size() > request.answerLimit;
    answer.body.resize(std::min(answer.body.size(), request.answerLimit));
  }
  return answer;
}

void RecordedHttp::setResponder(Responder responder) {
  const std::scoped_lock lock(mutex_);
  responder_ = std::move(responder);
}

void RecordedHttp::setDelay(Duration delay) {
  const std::scoped_lock lock(mutex_);
  delay_ = delay;
}

std::vector<HttpRequest> RecordedHttp::requests() const {
  const std::scoped_lock lock(mutex_);
  return requests_;
}

}  // namespace jumplark

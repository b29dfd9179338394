#include "query/engine/MatchingWait.h"

#include "platform/Platform.h"
#include "platform/Queues.h"

namespace jumplark {

MatchingWait::MatchingWait()
    : queue_(Platform::current().queues->makeSerialQueue("com.brindlefox.jumplark.matching-wait")),
      cancelled_(std::make_shared<std::atomic<bool>>(false)) {}

MatchingWait::~MatchingWait() {
  cancelled_->store(true);
  subscription_.reset();
  queue_.reset();
}

void MatchingWait::start(const Observable<bool>& isMatched, const Observable<std::string>& query,
                         std::function<void()> action, std::function<void()> over) {
  const auto matched = std::make_shared<bool>(false);
  // The action is a task of its own: whoever changes the text, and thereby ends the subscription, must not wait for it.
  subscription_ = isMatched.deliverOn(*queue_)
                      .filter([](bool is) { return is; })
                      .take(1)
                      .takeUntil(query.skip(1))
                      .subscribe([matched](const bool& is) { *matched = is; },
                                 [matched, action = std::move(action), over = std::move(over), cancelled = cancelled_,
                                  queue = queue_.get()] {
                                   queue->post([isMatched = *matched, action, over, cancelled] {
                                     if (isMatched && !cancelled->load()) {
                                       action();
                                     }
                                     over();
                                   });
                                 });
}

}  // namespace jumplark

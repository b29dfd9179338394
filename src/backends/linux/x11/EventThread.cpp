#include "backends/linux/x11/EventThread.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>

#include "backends/linux/x11/Reply.h"

namespace jumplark {

EventThread::EventThread(std::shared_ptr<X11Connection> connection, EventHandler onEvent, std::function<void()> onTimer)
    : x_(std::move(connection)),
      onEvent_(std::move(onEvent)),
      onTimer_(std::move(onTimer)),
      wakeFd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

EventThread::~EventThread() {
  stop();
  close(wakeFd_);
}

void EventThread::start() {
  thread_ = std::thread([this] { run(); });
}

void EventThread::wake() {
  const uint64_t one = 1;
  // A full counter is awake already.
  [[maybe_unused]] const ssize_t written = write(wakeFd_, &one, sizeof one);
}

void EventThread::startTimer(std::chrono::milliseconds delay) {
  timer_ = Clock::now() + delay;
}

void EventThread::stop() {
  stopping_ = true;
  wake();
  if (thread_.joinable()) {
    thread_.join();
  }
}

void EventThread::run() {
  while (!stopping_) {
    handleQueuedEvents();
    if (!stopping_ && timer_ && Clock::now() >= *timer_) {
      timer_.reset();
      onTimer_();
      continue;  // the handler may have read events while it waited for replies
    }
    if (!stopping_) {
      waitForInput();
    }
  }
}

void EventThread::handleQueuedEvents() {
  while (!stopping_) {
    const x11::Reply<xcb_generic_event_t> event(xcb_poll_for_event(x_->get()));
    if (!event) {
      return;
    }
    onEvent_(*event);
  }
}

void EventThread::waitForInput() {
  // A lost connection stays readable for ever; from then on only the end is waited for.
  pollfd fds[] = {{wakeFd_, POLLIN, 0}, {xcb_get_file_descriptor(x_->get()), POLLIN, 0}};
  const nfds_t count = x_->alive() ? 2 : 1;
  poll(fds, count, millisecondsToTimer());
  if ((fds[0].revents & POLLIN) != 0) {
    uint64_t counter = 0;
    [[maybe_unused]] const ssize_t drained = read(wakeFd_, &counter, sizeof counter);
  }
}

int EventThread::millisecondsToTimer() const {
  if (!timer_) {
    return -1;
  }
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(*timer_ - Clock::now()).count();
  return static_cast<int>(std::max<int64_t>(left, 0));
}

}  // namespace jumplark

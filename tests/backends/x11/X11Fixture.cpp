#include "backends/x11/X11Fixture.h"

#include <stdexcept>

#include "backends/linux/x11/Properties.h"

namespace jumplark {

using desktop::waitUntil;

size_t ManualQueue::runAll() {
  std::unique_lock lock(mutex_);
  const std::vector<Task> due = std::exchange(tasks_, {});
  lock.unlock();
  std::ranges::for_each(due, [](const Task& task) { task(); });
  return due.size();
}

void X11Test::waitUntilWindowsAreManaged() {
  constexpr desktop::Milliseconds perAttempt{300};
  const auto attempt = [&] {
    const xcb_window_t window = showWindow(*x_, 0, 0, 10);
    const auto managed = [&] { return x11::readNumbers(*x_, window, x_->atom(Atom::wmState)).has_value(); };
    const bool success = waitUntil(managed, perAttempt);
    xcb_destroy_window(x_->get(), window);
    xcb_flush(x_->get());
    return success && waitUntil([&] { return windows_->windowsFrontToBack().empty(); });
  };
  ASSERT_TRUE(waitUntil(attempt));
}

void X11Test::start(desktop::SessionOptions options) {
  options.accessibility = false;
  session_ = std::make_unique<desktop::PrivateSession>(options);
  auto opened = X11Connection::open(session_->display());
  if (!opened.connection) {
    throw std::runtime_error(opened.error);
  }
  x_ = std::move(opened.connection);
  windows_ = std::make_unique<X11WindowSystem>(x_);
  if (options.windowManager != desktop::WindowManager::none) {
    waitUntilWindowsAreManaged();
  }
}

}  // namespace jumplark

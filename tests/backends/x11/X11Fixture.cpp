#include "backends/x11/X11Fixture.h"

#include <algorithm>
#include <sstream>
#include <utility>

#include "backends/linux/x11/Properties.h"

namespace jumplark {

using desktop::waitUntil;

WindowClient::WindowClient(desktop::PrivateSession& session, const desktop::Arguments& arguments)
    : process_([&]() -> desktop::Process& {
        desktop::Arguments all = {JUMPLARK_WINDOW_CLIENT};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return session.start(all);
      }()) {
  const auto shown = [&] {
    const auto announced = lines("window");
    window_ = announced.empty() ? 0 : static_cast<uint32_t>(std::stoul(announced.front().substr(7)));
    // The session lists what is viewable and has a title or a class.
    return window_ != 0 && session.findWindow([&](const auto& window) { return window.id == window_; }).has_value();
  };
  if (!waitUntil(shown)) {
    throw std::runtime_error("the window did not appear: " + process_.err());
  }
}

std::vector<std::string> WindowClient::lines(const std::string& word) const {
  std::vector<std::string> result;
  std::stringstream out(process_.out());
  for (std::string line; std::getline(out, line);) {
    if (line.starts_with(word + " ")) {
      result.push_back(line);
    }
  }
  return result;
}

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
    const xcb_window_t window = xcb_generate_id(x_->get());
    xcb_create_window(x_->get(), XCB_COPY_FROM_PARENT, window, x_->root(), 0, 0, 10, 10, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_map_window(x_->get(), window);
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
  ASSERT_TRUE(opened.connection) << opened.error;
  x_ = std::move(opened.connection);
  windows_ = std::make_unique<X11WindowSystem>(x_);
  if (options.windowManager != desktop::WindowManager::none) {
    waitUntilWindowsAreManaged();
  }
}

void X11Test::TearDown() {
  windows_.reset();
  x_.reset();
  session_.reset();
}

}  // namespace jumplark

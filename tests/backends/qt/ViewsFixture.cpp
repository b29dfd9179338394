#include "backends/qt/ViewsFixture.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace jumplark {

using desktop::waitUntil;

ViewsClient::ViewsClient(desktop::PrivateSession& session)
    : session_(session),
      fifo_(session.folder() + "/commands"),
      process_((
          [&] {
            ::unlink(fifo_.c_str());
            if (::mkfifo(fifo_.c_str(), 0600) != 0) {
              throw std::runtime_error("no FIFO");
            }
          }(),
          session.start({JUMPLARK_VIEWS_CLIENT, fifo_}))) {
  pipe_ = ::open(fifo_.c_str(), O_RDWR | O_CLOEXEC);
  if (pipe_ < 0 || !process_.waitForLine("ready")) {
    throw std::runtime_error("the windows did not come up: " + process_.err());
  }
}

ViewsClient::~ViewsClient() {
  ::close(pipe_);
}

void ViewsClient::command(const std::string& line) {
  const std::string text = line + "\n";
  ASSERT_EQ(::write(pipe_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  ASSERT_TRUE(says("done " + std::to_string(++commands_))) << line << ": " << process_.err();
}

std::string ViewsClient::last(const std::string& word) const {
  std::istringstream out(process_.out());
  std::string result;
  for (std::string line; std::getline(out, line);) {
    if (line.starts_with(word + " ")) {
      result = line.substr(word.size() + 1);
    }
  }
  return result;
}

std::vector<int> ViewsClient::numbers(const std::string& word) const {
  std::istringstream text(last(word));
  std::vector<int> result;
  for (double number = 0; text >> number;) {
    result.push_back(static_cast<int>(number));
  }
  return result;
}

uint32_t ViewsClient::queryWindow() const {
  const auto window = session_.findWindow(
      [&](const desktop::SessionWindow& w) { return w.pid == process_.pid() && !w.overrideRedirect; });
  return window ? window->id : 0;
}

void ViewsClient::showQueryWindow(int x, int y) {
  const size_t arrivals = count("keyboard");
  command("place " + std::to_string(x) + " " + std::to_string(y));
  command("show");
  command("monitor 1");
  ASSERT_TRUE(waitUntil([&] { return count("keyboard") > arrivals; })) << process_.err();
}

testing::AssertionResult ViewsTest::shows(int x, int y, uint32_t color) {
  uint32_t found = 0;
  const auto equal = [&] {
    found = session_->pixel(x, y);
    for (const unsigned shift : {0U, 8U, 16U}) {
      constexpr int kRounding = 2;
      if (std::abs(static_cast<int>((found >> shift) & 0xFF) - static_cast<int>((color >> shift) & 0xFF)) > kRounding) {
        return false;
      }
    }
    return true;
  };
  if (waitUntil(equal, desktop::Milliseconds(5000))) {
    return testing::AssertionSuccess();
  }
  std::ostringstream text;
  text << "at " << x << ',' << y << " shows " << std::hex << found << " and not " << color;
  return testing::AssertionFailure() << text.str();
}

}  // namespace jumplark

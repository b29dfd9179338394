#pragma once

#include <string>
#include <vector>

#include "backends/x11/X11Fixture.h"
#include "desktop/support/PrivateSession.h"

namespace jumplark {

/// The windows in a process of their own (ViewsClient.cpp), told what to do.
class ViewsClient {
 public:
  explicit ViewsClient(desktop::PrivateSession& session);
  ~ViewsClient();
  ViewsClient(const ViewsClient&) = delete;
  ViewsClient& operator=(const ViewsClient&) = delete;

  /// Returns when the command has been carried out.
  void command(const std::string& line);
  bool says(const std::string& line) { return process_.waitForLine(line); }
  size_t count(const std::string& line) const { return process_.countOfLine(line); }
  /// The arguments of the last line that begins with this word.
  std::vector<int> numbers(const std::string& word) const;
  std::string last(const std::string& word) const;
  desktop::Process& process() { return process_; }
  /// The query window while it is on screen; 0 otherwise.
  uint32_t queryWindow() const;
  /// Shows the query window with its card's corner there, and returns when it has the keyboard.
  void showQueryWindow(int x, int y);

 private:
  desktop::PrivateSession& session_;
  std::string fifo_;
  int pipe_ = -1;
  int commands_ = 0;
  desktop::Process& process_;
};

class ViewsTest : public X11Test {
 protected:
  void startViews(const desktop::SessionOptions& options) {
    start(options);
    views_ = std::make_unique<ViewsClient>(*session_);
  }
  void TearDown() override {
    views_.reset();
    X11Test::TearDown();
  }
  /// Waits until a pixel has the colour, but for rounding.
  testing::AssertionResult shows(int x, int y, uint32_t color);

  std::unique_ptr<ViewsClient> views_;
};

}  // namespace jumplark

#pragma once

#include "desktop/support/Desktop.h"
#include "desktop/support/RunningProgram.h"

namespace jumplark::desktop {

/// A pixel of a box that neither its border nor its label covers.
inline uint32_t boxPixel(PrivateSession& session, const PixelRect& rect) {
  return session.pixel(rect.x + 4, rect.y + rect.height / 2);
}

/// A desktop with the demonstration program in front and the program in the background.
struct Use {
  explicit Use(const SessionOptions& options, const Arguments& first = {"true"})
      : desktop(options), demo(ready(desktop, first)), program(desktop.session) {}
  explicit Use(WindowManager windowManager = WindowManager::xfwm4)
      : Use(SessionOptions{.windowManager = windowManager, .width = Desktop::kWidth, .height = Desktop::kHeight}) {}

  PrivateSession& session() { return desktop.session; }
  /// Closes the query window with a key, and waits until the keyboard is back where it was.
  void close(const std::string& key) {
    program.close(key);
    EXPECT_TRUE(waitUntil([this] { return demo.isActive(); }));
  }
  /// Waits until a box of that colour lies over what showed `plain` before.
  ::testing::AssertionResult boxed(const PixelRect& rect, uint32_t colour, uint32_t plain) {
    if (waitUntil([&] { return similar(boxPixel(session(), rect), tinted(colour, plain)); })) {
      return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << rect << " shows " << boxPixel(session(), rect) << " on " << plain;
  }

  /// Waits until a screen reader is told this of the field, which it reads.
  bool tells(const std::string& description) {
    return waitUntil([&] { return program.description() == description; });
  }

  /// Runs a command in the session before anything else is started in it.
  static Desktop& ready(Desktop& desktop, const Arguments& first) {
    EXPECT_EQ(desktop.session.run(first).status, 0);
    return desktop;
  }

  Desktop desktop;
  DemoProgram demo;
  RunningProgram program;
};

}  // namespace jumplark::desktop

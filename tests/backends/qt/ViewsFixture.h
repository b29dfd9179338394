#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "backends/linux/qt/NativeWindows.h"
#include "backends/linux/qt/QtMainLoop.h"
#include "backends/linux/qt/QtViews.h"
#include "backends/linux/system/SystemQueues.h"
#include "backends/x11/X11Fixture.h"
#include "platform/Screens.h"

namespace jumplark {

/// The program's windows without the rest of the program, in a session on X11 or on Wayland. Events and tasks are
/// handled while a test awaits something. Places have a top-left origin.
class ViewsTest : public X11Test, protected QueryWindowViewDelegate {
  // First, so that the windows go before what they need.
  std::shared_ptr<void> member_;
  std::unique_ptr<SystemQueues> queues_;
  std::unique_ptr<QtMainLoop> loop_;
  std::unique_ptr<Screens> screens_;

 protected:
  void startViews(desktop::SessionOptions options);

  /// Handles events and tasks until the state is there; false when it does not come.
  bool await(const std::function<bool()>& state);
  /// What the windows have told: "text T", "key CODE FLAGS IGNORING", "equivalent CODE", "windowkey CODE", "resign",
  /// "keyboard", "chosen N", "row N", "scrolled N".
  size_t count(const std::string& line) const;
  bool says(const std::string& line) {
    return await([&] { return count(line) > 0; });
  }
  /// Waits until a pixel has the colour, but for rounding.
  testing::AssertionResult shows(int x, int y, uint32_t color);

  /// A rectangle of the core.
  Rect core(double x, double y, double width, double height) const;
  /// The managed window that is on screen, the query window or a message; 0 without one.
  uint32_t ownWindow() const;
  /// Shows the query window with its card's corner there, and returns when it has the keyboard.
  void showQueryWindow(int x, int y);

  std::vector<std::string> told_;
  std::unique_ptr<QtViews> views_;
  std::unique_ptr<QueryWindowView> query_;
  std::unique_ptr<OverlayView> overlay_;
  std::unique_ptr<DiscoveryView> discovery_;

 private:
  std::unique_ptr<NativeWindows> startX11(const desktop::SessionOptions& options);
  std::unique_ptr<NativeWindows> startWayland(const desktop::SessionOptions& options);
  void textDidChange(const std::string& text) override { told_.push_back("text " + text); }
  /// Keeps combinations with Control from the field.
  bool monitoredKeyDown(const KeyEvent& event) override;
  bool performKeyEquivalent(const KeyEvent& event) override;
  void keyDown(const KeyEvent& event) override { told_.push_back("windowkey " + std::to_string(event.keyCode)); }
  void keyUp(const KeyEvent& /*event*/) override {}
  void didResignKey() override { told_.emplace_back("resign"); }
  void commandRowPressed(size_t row) override { told_.push_back("row " + std::to_string(row)); }
  void commandsScrolled(int rows) override { told_.push_back("scrolled " + std::to_string(rows)); }
};

}  // namespace jumplark

#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "backends/linux/wayland/ListedWindows.h"
#include "backends/linux/wayland/gnome/ShellBus.h"
#include "backends/linux/wayland/gnome/ShellStage.h"

namespace jumplark::gnome {

/// The shell's windows, as the extension tells them.
struct WindowList {
  struct Window {
    WindowFacts facts;
    bool maximised = false;
    std::vector<WindowWish> wishes;  ///< that the shell takes of it
  };
  std::vector<Window> windows;  ///< front to back, pop-ups included, those that do not show last
  WindowId focused;             ///< the window that has the keyboard; empty when none
  std::string buttons;          ///< which a title bar has that the shell draws: "menu:minimize,close"
};

/// Windows of no process, of no size or far too many of them are left out; what is no list gives an empty one. Places
/// are those that the shell tells, pixels of its stage.
WindowList readWindows(std::string_view json);
/// Makes points of the places of a window; of a program on Xwayland it says how many of these a pixel is.
void putInPoints(WindowFacts& window, const std::vector<WaylandOutput>& outputs);

/// Windows as GNOME Shell tells them, those of X11 programs too. A shell that draws answers after its frame only, so
/// that an answer counts for the questions of the next moment too: opening the query asks several.
class Windows final : public ListedWindows {
 public:
  Windows(std::shared_ptr<Bus> bus, Stage stage) : bus_(std::move(bus)), stage_(std::move(stage)) {}

  WindowId activeWindow() override;
  std::string whyNoneAreTold() override;
  bool requestActive(WindowId id, bool force) override;
  std::vector<WindowButton> buttonsOf(const WindowFacts& window) override;
  bool request(WindowId id, WindowWish wish) override;

  /// The next question is asked anew: windows have changed.
  void forget() { ++changes_; }

 private:
  std::vector<WindowFacts> all() override;
  WindowList ask();

  std::shared_ptr<Bus> bus_;
  const Stage stage_;

  std::atomic<uint64_t> changes_ = 0;
  std::mutex asking_;
  WindowList last_;
  uint64_t changesAtLast_ = 0;
  std::chrono::steady_clock::time_point lastEnds_;  ///< from when on it counts no more
};

}  // namespace jumplark::gnome

#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "backends/linux/wayland/gnome/ShellBus.h"
#include "backends/linux/wayland/gnome/ShellStage.h"
#include "backends/linux/windows/WindowSystem.h"

namespace jumplark::gnome {

/// What the shell shows at one moment, as the extension tells it.
struct Scene {
  struct Window {
    WindowFacts facts;
    bool maximised = false;
    std::vector<WindowWish> wishes;  ///< that the shell takes of it
  };
  struct Screen {
    Rect frame;
    Rect free;  ///< of panels
  };
  std::vector<Window> windows;   ///< front to back, pop-ups included, those that do not show last
  WindowId focused;              ///< the window that has the keyboard; empty when none
  std::string buttons;           ///< which a title bar has that the shell draws: "menu:minimize,close"
  std::vector<Screen> screens;   ///< in pixels of the stage
  std::optional<Point> pointer;  ///< in pixels of the stage
};

/// Windows of no process, of no size or far too many of them are left out; what is no scene gives an empty one. Places
/// are those that the shell tells, pixels of its stage.
Scene readScene(std::string_view json);
/// Makes points of the places of a window; of a program on Xwayland it says how many of these a pixel is.
void putInPoints(WindowFacts& window, const std::vector<WaylandOutput>& outputs);

/// The last scene that was told. A shell that draws answers after its frame only, so that an answer counts for the
/// questions of the next moment too, and with the press of a combination comes a scene that nobody has to ask for:
/// opening the query asks several questions. Calls may come from any thread.
class Scenes {
 public:
  Scenes(std::shared_ptr<Bus> bus, Stage stage) : bus_(std::move(bus)), stage_(std::move(stage)) {}

  /// The one of this moment, asked for where it is not known. Of a shell that does not answer in half a second it is
  /// the last one, for a while, and then empty. Windows are in points.
  Scene now();
  /// The one of this moment where that is known.
  std::optional<Scene> known();
  /// The extension has told one of its own accord.
  void told(std::string_view json);
  /// The next question is asked anew: windows have changed.
  void forget();

 private:
  Scene read(std::string_view json) const;
  bool isCurrent() const;

  std::shared_ptr<Bus> bus_;
  const Stage stage_;
  std::mutex asking_;  ///< so that those who ask at once share an answer
  std::mutex mutex_;   ///< leaf; of what follows
  uint64_t changes_ = 0;
  Scene last_;
  std::chrono::steady_clock::time_point lastTold_;
  std::chrono::steady_clock::time_point lastEnds_;  ///< from when on it counts no more
};

}  // namespace jumplark::gnome

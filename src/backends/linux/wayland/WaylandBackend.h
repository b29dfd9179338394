#pragma once

#include <memory>
#include <string>

#include "backends/linux/wayland/Compositor.h"
#include "backends/linux/wayland/WaylandConnection.h"
#include "backends/linux/wayland/WaylandInput.h"
#include "backends/linux/wayland/WaylandScreens.h"
#include "backends/linux/wayland/WaylandShortcuts.h"
#include "backends/linux/windows/DesktopBackend.h"
#include "backends/linux/windows/DesktopEntries.h"
#include "backends/linux/windows/WindowMenus.h"
#include "backends/linux/windows/WindowWorkspace.h"

namespace jumplark {

/// A desktop of a Wayland compositor.
class WaylandBackend final : public DesktopBackend {
 public:
  struct Opened {
    std::unique_ptr<WaylandBackend> backend;  ///< null when the compositor is out of reach or tells too little
    std::string error;                        ///< one sentence: what is missing and what to do about it
  };
  /// Connects to the compositor that the environment names. The main queue outlives the backend.
  static Opened open(TaskQueue& mainQueue);
  ~WaylandBackend() override;

  WindowSystem& windows() override { return compositor_->windows(); }
  Screens& screens() override { return screens_; }
  Workspace& workspace() override { return workspace_; }
  WaylandInput& input() override { return input_; }
  WindowMenus& windowMenus() override { return windowMenus_; }
  InputSources& inputSources() override { return compositor_->inputSources(); }
  GlobalShortcuts& shortcuts() override { return shortcuts_; }
  void setMenuHooks(MenuHooks hooks) override { menuHooks_ = std::move(hooks); }
  /// Nothing is frozen meanwhile, and what is not read in time may stay open and take what is typed.
  std::chrono::milliseconds menuPatience() const override { return std::chrono::milliseconds(600); }
  Token onActiveApplicationChanged(std::function<void(int32_t pid)> callback) override;
  /// No compositor tells of clicks elsewhere.
  Token onButtonPress(std::function<void(Point position)> /*callback*/) override { return {}; }
  std::string description() const override;

  /// The toolkit has lost the compositor. Waits until another one answers in its place, which comes about where
  /// somebody keeps its socket meanwhile; false as soon as nobody does, or when it takes too long. Another start of the
  /// program must follow.
  bool awaitSuccessor();

  // For the windows of this program.

  /// The compositor has what the query window and the overlay are made with.
  bool canShowWindows() const { return connection_->globals().hasLayerShell || windowPlacer(); }
  /// How they get to their places where there is no layer shell; empty where there is.
  Compositor::WindowPlacer windowPlacer() const { return compositor_->windowPlacer(); }
  /// Gives one of this program's ordinary windows the keyboard.
  void activateOwnWindow(const std::string& title);
  /// A window of this program of that title never counts as the one that the user works in.
  void passOver(const std::string& title) { compositor_->passOver(title); }
  /// A menu keeps the keyboard from the query window, for the first or a further time at one showing, counted from 1:
  /// reads what can be chosen in it, then closes it, or its innermost level.
  void closeMenu(int time);
  /// How to learn whether menus of X11 programs show, of which few compositors tell.
  void setXMenus(std::function<bool()> doShow) { doXMenusShow_ = std::move(doShow); }
  /// Menus show, as far as the compositor tells of them, else the lists that menusWillClose() has read.
  bool doMenusShow();
  /// The query window is about to take the keyboard: reads what can be chosen in the menus that show, and closes them
  /// where they do not close by that. True when there are any.
  bool menusWillClose();

 private:
  /// Of the window in front, if that is one of an X11 program.
  bool hasXMenus();
  void closeLevels();

  /// Windows tell nothing of their menus here.
  struct NoMenus final : WindowMenus {
    WindowMenuAddresses menusOf(WindowId /*window*/) override { return {}; }
  };

  WaylandBackend(std::shared_ptr<WaylandConnection> connection, std::unique_ptr<Compositor> compositor,
                 TaskQueue& mainQueue);

  std::shared_ptr<WaylandConnection> connection_;
  std::unique_ptr<Compositor> compositor_;
  TaskQueue& mainQueue_;
  DesktopEntries entries_;
  WaylandScreens screens_;
  WindowWorkspace workspace_;
  WaylandInput input_;
  NoMenus windowMenus_;
  WaylandShortcuts shortcuts_;
  PostedSlots<int32_t> activeApplication_;
  Token compositorsWord_;  ///< of the active application
  MenuHooks menuHooks_;
  std::function<bool()> doXMenusShow_;
  bool isMenuTold_ = false;  ///< the one that closeMenu() closes
  bool isListTold_ = false;  ///< one that closes by itself, of which the compositor does not tell
};

}  // namespace jumplark

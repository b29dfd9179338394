#pragma once

#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include "backends/linux/atspi/menus/MenuCommands.h"
#include "backends/linux/atspi/menus/MenuOpener.h"
#include "backends/linux/atspi/menus/MenuTree.h"
#include "backends/linux/atspi/menus/OpenMenus.h"
#include "backends/linux/menus/MenuSource.h"
#include "backends/linux/menus/OpenCommands.h"

namespace jumplark::atspi {

/// The menus that applications have in their accessible trees although they are closed: GTK 3, Qt, LibreOffice and Java
/// do. Waits while a snapshot is being taken. The menus of the last windows are remembered, so that they are told after
/// one question whether they are still so.
class AtspiMenus final : public menus::MenuSource {
 public:
  /// What was read last of an application's elements; null without.
  using LastSnapshot = std::function<SnapshotPointer(const ElementRef& application)>;
  AtspiMenus(AtspiElementSource& elements, WindowSystem& windows, LastSnapshot lastSnapshot, MenuHands hands)
      : elements_(elements),
        windows_(windows),
        lastSnapshot_(std::move(lastSnapshot)),
        hands_(std::move(hands)),
        opener_(elements, windows, hands_) {}

  /// What is open of the menus of the application whose window has the keyboard: the user may choose of it once it is
  /// closed. Does not wait for snapshots. Where nobody has the keyboard, only if pop-ups of that application show, or
  /// where it may have opened a list of which the window system does not tell.
  menus::OpenCommands::Told readOpen(TimePoint deadline, bool isKeyboardTaken);
  /// To be called when an application comes to the front: looks for its menu bar, so that readOpen() need not. Takes
  /// some time.
  void applicationBecameActive(int32_t pid);
  void read(const menus::MenuRequest& request, menus::MenuSink& sink) override;
  std::optional<MenuOutcome> perform(const MenuCommand& command, TimePoint deadline) override;

 private:
  struct Remembered {
    WindowId window;
    ElementRef bar;
    MenuTree tree;
  };
  struct Place {
    ElementRef application;
    ElementRef frame;
    SnapshotPointer snapshot;  ///< null unless it is of that frame
  };
  /// One call of read().
  struct Pass {
    const menus::MenuRequest& request;
    menus::MenuSink& sink;
    MenuFacts facts;
    bool areStatesOld = false;  ///< of what is in closed menus
  };
  Place placeOf(const menus::MenuRequest& request);
  /// The first look comes with a press of the shortcut.
  enum class Look { first, again };
  std::vector<MenuCommand> readOpen(const menus::MenuRequest& request, const MenuOpening& called, Look look);
  /// Whatever may hold something that is open, by what the last snapshot saw.
  OpenMenus::Heads headsOf(MenuFacts& facts, const menus::MenuRequest& request, const Place& place);
  std::vector<WindowFacts> popupsOf(const WindowFacts& window);
  std::optional<WindowFacts> windowInFront();
  /// Whether something may be open that leaves the keyboard alone, by the application's word.
  bool mayHaveOpened(const WindowFacts& window, TimePoint deadline);
  /// The same where no state tells what is open: what stands in popovers, and what shows in pop-up windows.
  std::vector<MenuCommand> readPopups(const menus::MenuRequest& request, const ElementRef& application,
                                      MenuOpening called, Look look);
  SnapshotPointer whatShows(const menus::MenuRequest& request, const ElementRef& application, Look look);
  /// Chooses what is open now without a click; false when it cannot be chosen so.
  bool chooseOpen(const AtspiMenuHandle& command, TimePoint deadline);
  /// How the outermost menu that is open now may have been called.
  MenuOpening openingOf(const std::vector<WindowFacts>& popups);
  static ElementRef findBar(MenuFacts& facts, const ElementRef& frame);
  ElementRef knownBar(WindowId window);
  std::optional<Remembered> remembered(WindowId window);
  void remember(Remembered menus);
  void readBar(Pass& pass, const ElementRef& bar);
  /// The menus of buttons, where these have them while they are closed.
  static void readButtons(Pass& pass, const Snapshot& snapshot);
  /// Adds commands, after asking what carries them out.
  static void tell(Pass& pass, MenuTree& tree, const std::vector<int>& commands, const Remembered* before);
  static void add(Pass& pass, const MenuTree& tree, const std::vector<int>& commands);
  MenuOutcome perform(const AtspiMenuHandle& command, TimePoint deadline, bool mayLookAgain);
  MenuOutcome reopen(const AtspiMenuHandle& command);
  MenuOutcome act(const AtspiMenuHandle& command, TimePoint deadline);
  MenuOutcome lookAgain(const AtspiMenuHandle& command, TimePoint deadline);

  AtspiElementSource& elements_;
  WindowSystem& windows_;
  const LastSnapshot lastSnapshot_;
  const MenuHands hands_;
  MenuOpener opener_;
  std::mutex mutex_;  ///< leaf
  std::deque<Remembered> remembered_;
  std::weak_ptr<const Snapshot> told_;  ///< that told last what is open
  std::deque<std::pair<WindowId, ElementRef>> bars_;
};

}  // namespace jumplark::atspi

#pragma once

#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include "backends/linux/atspi/menus/MenuCommands.h"
#include "backends/linux/atspi/menus/MenuOpener.h"
#include "backends/linux/atspi/menus/MenuTree.h"
#include "backends/linux/menus/MenuSource.h"

namespace jumplark::atspi {

/// The menus that applications have in their accessible trees although they are closed: GTK 3, Qt, LibreOffice and Java
/// do. Waits while a snapshot is being taken. The menus of the last windows are remembered, so that they are told after
/// one question whether they are still so.
class AtspiMenus final : public menus::MenuSource {
 public:
  /// What was read last of an application's elements; null without.
  using LastSnapshot = std::function<SnapshotPointer(const ElementRef& application)>;
  AtspiMenus(AtspiElementSource& elements, WindowSystem& windows, LastSnapshot lastSnapshot, MenuHands hands)
      : elements_(elements), lastSnapshot_(std::move(lastSnapshot)), opener_(elements, windows, std::move(hands)) {}

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
  static ElementRef findBar(MenuFacts& facts, const ElementRef& frame);
  std::optional<Remembered> remembered(WindowId window);
  void remember(Remembered menus);
  void readBar(Pass& pass, const ElementRef& bar);
  /// The menus of buttons, where these have them while they are closed.
  static void readButtons(Pass& pass, const Snapshot& snapshot);
  /// Adds the commands below a node, after asking what carries them out.
  static void tell(Pass& pass, MenuTree& tree, int node, const Remembered* before);
  static void add(Pass& pass, const MenuTree& tree, const std::vector<int>& commands);
  MenuOutcome perform(const AtspiMenuHandle& command, TimePoint deadline, bool mayLookAgain);
  MenuOutcome act(const AtspiMenuHandle& command, TimePoint deadline);
  MenuOutcome lookAgain(const AtspiMenuHandle& command, TimePoint deadline);

  AtspiElementSource& elements_;
  const LastSnapshot lastSnapshot_;
  MenuOpener opener_;
  std::mutex mutex_;  ///< leaf
  std::deque<Remembered> remembered_;
};

}  // namespace jumplark::atspi

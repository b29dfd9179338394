#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/Token.h"
#include "query/commands/CommandList.h"
#include "query/engine/KeyBindings.h"
#include "query/engine/TargetCommands.h"
#include "streams/Property.h"

namespace jumplark {

class CommandActions;
class JLElementSelectionController;
class JLQueryWindowController;
class MainThreadCalls;
class QueryPipeline;
struct ActivationState;

/// The second thing that a query searches: the commands of the target's menus, in a list under the field. It comes when
/// its key asks for it, at once where a menu was open, and by itself when a query matches no element but commands; then
/// it goes as soon as a query matches elements. Elements are matched no more while it is there for another reason.
///
/// Menus are read once the matches of the snapshot are in place. Main thread only.
class CommandSearch {
 public:
  struct Parts {
    const ActivationState& state;
    QueryPipeline& pipeline;
    JLElementSelectionController& selection;
    JLQueryWindowController& window;
    CommandActions& actions;
  };
  /// Everything outlives it; the calls are closed before it goes.
  CommandSearch(const Parts& parts, MainThreadCalls& mainThread);
  CommandSearch(const CommandSearch&) = delete;
  CommandSearch& operator=(const CommandSearch&) = delete;
  ~CommandSearch();

  const Property<bool>& isShown() const { return isShown_; }
  /// The user waits for menus to be read.
  const Property<bool>& isWaited() const { return isWaited_; }

  /// True when the key was for the list; false leaves it to the elements.
  bool keyDown(ListKey key);
  void rowPressed(size_t row);
  void scroll(int rows);
  /// Return where no element matches: carries out the first command that does, as soon as the menus are read; beeps
  /// where there is none.
  void actionWithoutMatch();

 private:
  enum class Wanted { ifNothingMatches, always, never };

  void activeChanged(bool isActive);
  void queryChanged();
  void matchingChanged();
  void commandsChanged(bool isOther);

  bool shouldShow();
  bool isForOpenMenu();
  bool isReading() const;
  void decide();
  void search();
  void present();
  /// The new number of the command that the user has chosen, after all have got new ones.
  std::optional<uint32_t> numberOfChosen() const;

  void show();
  void leave();
  void selectionChanged();
  bool action();
  void actOrWait();
  void performSelected();

  const Parts parts_;
  TargetCommands commands_;
  CommandList list_;
  Property<bool> isShown_{false};
  Property<bool> isWaited_{false};

  uint64_t activation_ = 0;                  ///< the one that it works for; 0 while idle
  std::optional<uint64_t> snapshotOfMenus_;  ///< after which the menus were read
  std::optional<std::string> searched_;      ///< the query whose matches the list has
  Wanted wanted_ = Wanted::ifNothingMatches;
  bool passesOverOpenMenu_ = false;  ///< the user has left its list
  bool actsWhenRead_ = false;        ///< Return was pressed before there was anything
  bool isInsteadOfElements_ = false;
  std::vector<std::string> chosenPath_;
  std::vector<Token> tokens_;
};

}  // namespace jumplark

#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "backends/linux/atspi/bus/MethodCall.h"
#include "backends/linux/atspi/element/ElementDraft.h"
#include "backends/linux/atspi/reading/CoordinateTransform.h"
#include "backends/linux/windows/WindowSystem.h"

namespace jumplark::atspi {

class CachedTree;
struct Reading;
class Snapshot;
struct SnapshotDraft;
struct WalkPlan;

/// What an application said of the library that draws it.
struct ToolkitFacts {
  std::string name;
  std::string version;
  std::string application;  ///< what it calls itself
  std::string peerAddress;  ///< the application's own socket; empty without
};

/// How an application tells what it shows. This class is AT-SPI's own word, which holds for whatever is not known
/// better; a toolkit that differs is a class of its own that says in what (see toolkits/). Nobody else asks which
/// toolkit it is.
///
/// Calls may come from any thread.
class Toolkit {
 public:
  virtual ~Toolkit() = default;
  /// Whether an application is of this toolkit.
  static bool draws(const ToolkitFacts&) { return true; }

  /// \name What shows, and what it is called
  /// @{

  /// False where SHOWING is set on windows only, so that VISIBLE and a size must decide.
  virtual bool tellsShowing() const { return true; }
  /// The name that an element has for a person.
  virtual std::string nameForPeople(const std::string& name) const { return name; }
  /// All elements of a role have the same name for it.
  virtual bool namesRolesAlike() const { return false; }

  /// @}
  /// \name Where it is
  /// @{

  /// Extents count from the window, whose place on the screen is not known to the application.
  virtual bool extentsAreWindowRelative() const { return false; }
  /// Extents count from the corner of the screen on which an application believes its window that knows no place of its
  /// own; it learns of another screen in its own time.
  virtual bool countsFromItsScreen() const { return false; }
  /// What must be added to extents told inside this window to get points of the screen.
  virtual Point originIn(const WindowFacts& window, const Rect& reportedFrame) const;
  /// How places become points, from the sizes of a window and of its frame.
  virtual Placement placementIn(const WindowFacts& window, const Rect& reportedFrame) const;
  /// What GetExtents said, as the place of an element: none for the answers that toolkits give for elements without
  /// one. `offset` is added.
  virtual std::optional<Rect> placeTold(const Rect& reported, Point offset) const;
  /// Settles the place that an element told, once its role and name are known too.
  virtual void settlePlace(ElementFacts& /*element*/) const {}
  /// True for what tells a place from which it cannot be told yet whether it shows.
  virtual bool isMisplaced(const ElementFacts& /*element*/, const ElementFacts& /*parent*/) const { return false; }
  /// True for an element that tells its place in points of the screen whatever the window's scale.
  virtual bool tellsScreenPlace(const ElementFacts& /*element*/, const ElementDraft& /*elements*/) const {
    return false;
  }
  /// What the application itself says lies on top at a point (as it counts) in one of its documents, where its word is
  /// better than its elements' places. Takes time.
  virtual ElementRef topmostInDocument(CallRunner& /*runner*/, const AtspiHandle& /*document*/, Point /*point*/,
                                       TimePoint /*deadline*/) const {
    return {};
  }

  /// @}
  /// \name How it is read
  /// @{

  /// It tells many of its elements in one answer, at a tenth of the cost of asking each.
  virtual bool keepsCache() const { return false; }
  /// Its windows change their looks picture by picture when they lose or get the keyboard.
  virtual bool drawsBetweenAnswers() const { return false; }
  /// What to do long before the first snapshot, so that it is quick.
  struct Waking {
    bool eachTime = false;        ///< not at the first activation only
    bool asksAttributes = false;  ///< of the frames
    bool triesCache = false;      ///< how quick the cache is
    int reads = 0;                ///< whole snapshots
  };
  virtual Waking waking() const { return {}; }

  /// Adds a window to the snapshot; false when something is missing.
  virtual bool readWindow(SnapshotDraft& snapshot, const ElementRef& frame, CallRunner& runner,
                          const WalkPlan& plan) const;
  /// A container with more children than this is not asked for all of them at once.
  virtual int64_t mostChildren(const ElementFacts& container) const;
  /// Of what has more, those that show are found by asking what lies at points of it, not one by one.
  virtual bool findsChildrenAtPoints() const { return true; }
  virtual bool hasRowHeaders() const { return false; }
  /// Roles whose elements hold nothing that matters.
  virtual bool isLeaf(uint32_t /*role*/) const { return false; }
  /// Roles that are nothing but themselves: they implement what every element does.
  virtual bool isPlain(uint32_t /*role*/) const { return false; }
  /// Gives an open menu though it counts no children.
  virtual bool mayHaveOpenMenu(const ElementFacts& /*element*/) const { return false; }
  /// True when the element is all that a person sees of it and what stands in it, going by the cache.
  virtual bool isOnlyDecorated(const CachedTree& /*cache*/, const CacheItem& /*item*/) const { return false; }
  /// What is open over a window, and is neither among the application's children nor in a snapshot.
  struct Opened {
    std::vector<ElementRef> menus;
    std::vector<ElementRef> boxes;  ///< that have opened a list
  };
  /// Looks for that; `last` is the last snapshot, and may be null.
  virtual Opened findOpen(CallRunner& /*runner*/, const ElementRef& /*frame*/, const Snapshot* /*last*/,
                          TimePoint /*deadline*/) const {
    return {};
  }
  /// The button of a window whose menu is open, of those that do not hold it; may be empty. Asked where no snapshot
  /// tells of buttons.
  virtual ElementRef findOpener(CallRunner& /*runner*/, const ElementRef& /*frame*/, TimePoint /*deadline*/) const {
    return {};
  }
  /// The box that has opened a list which does not tell whose it is; may be empty.
  virtual ElementRef boxOf(CallRunner& /*runner*/, const ElementRef& /*frame*/, const ElementRef& /*list*/,
                           TimePoint /*deadline*/) const {
    return {};
  }
  /// Whether something may be open that leaves the keyboard alone, such as the list of a box. Asked where nobody tells
  /// of all pop-ups, at each press of the shortcut: must be quick.
  virtual bool mayHaveOpened(CallRunner& /*runner*/, const ElementRef& /*application*/, TimePoint /*deadline*/) const {
    return false;
  }
  /// False where the action of what is in a closed menu is told to be done and is not.
  virtual bool actsInClosedMenus() const { return true; }
  /// False where the states of what is in closed menus are those that they had when they showed last.
  virtual bool keepsClosedMenusTrue() const { return true; }
  /// What is chosen in its combo boxes is told by a selection.
  virtual bool tellsChoices() const { return true; }
  /// False for a box that must not be asked for it. All around it has been read.
  virtual bool mayAskChoice(const ElementFacts& /*box*/, const ElementDraft& /*elements*/) const { return true; }
  /// True for a text in which links may stand that are no elements with a place.
  virtual bool mayHoldLinks(const ElementFacts& /*element*/) const { return false; }
  /// False where the question which character lies at a point of a text is never answered.
  virtual bool tellsCharacterAtPoint() const { return true; }
  /// Single-line entries end their texts where they end, however much was asked for.
  virtual bool endsTextsItself() const { return false; }
  /// True for a box whose caption is worth asking for. All below it has been read.
  virtual bool mayBeCaptioned(const ElementFacts& /*element*/, const ElementDraft& /*elements*/) const { return false; }
  /// Puts right what a walk has read, parents before their children, before more is asked of it.
  virtual void settle(CallRunner& /*runner*/, const WalkPlan& /*plan*/, ElementDraft& /*elements*/,
                      std::vector<std::shared_ptr<ElementFacts>>& /*walked*/) const {}

  /// @}
  /// \name What is put right afterwards, in the order that Corrections.cpp states
  /// @{

  /// The correction of places wants to know the pop-up windows.
  virtual bool placesByPopups() const { return false; }
  virtual void correctPlaces(Reading& /*reading*/) const {}
  virtual void reparent(ElementDraft& /*elements*/) const {}
  virtual void nameControls(ElementDraft& /*elements*/) const {}
  /// Hides what lies below something else though it says that it shows.
  virtual void hideOccluded(ElementDraft& /*elements*/) const {}
  /// Adds what elements show and do not tell, see addPart().
  virtual void addParts(Reading& /*reading*/) const {}

  /// @}

  /// What to tell a person whose program shows nothing on the accessibility bus, or nothing of its pages; empty when
  /// the process does not use this toolkit. `snapshot` is null when it is not on the bus at all.
  virtual std::string adviceForSilent(int32_t /*pid*/, const Snapshot* /*snapshot*/) const { return {}; }

  /// The coordinate type to ask extents in.
  uint32_t coordinates() const;
  /// Whether an element shows, by the states that it sets and its place.
  bool shows(uint64_t states, const std::optional<Rect>& extents) const;
  /// The element's states with SHOWING as shows() decides. What has no place of its own shows as far as is known, until
  /// its children tell.
  uint64_t statesWithShowing(const ElementFacts& element) const;
};

/// Reported extents as a place: none for smallest integers, empty and negative sizes. `offset` is added.
std::optional<Rect> screenExtents(const Rect& reported, Point offset);

}  // namespace jumplark::atspi

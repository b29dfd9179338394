#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include "backends/linux/atspi/MethodCall.h"
#include "backends/linux/atspi/TextReading.h"
#include "backends/linux/atspi/Toolkit.h"

namespace jumplark::atspi {

class CachedTree;
class TypedBatch;

/// Facts by reference, while they are being collected.
using FactsMap = std::unordered_map<ElementRef, std::shared_ptr<ElementFacts>, ElementRefHash>;
using TextMap = std::unordered_map<ElementRef, TextFacts, ElementRefHash>;

struct WalkPlan {
  Toolkit toolkit;
  Point offset;  ///< what extents that are reported need, see extentsOffset
  /// Descend only into what shows. What does not is still named in its parent's children, with its identity.
  bool visibleOnly = true;
  TimePoint deadline;
  std::function<bool()> cancelled;  ///< asked between rounds; may be empty
  /// What the application said at once of its elements, so that only the rest is asked; may be null.
  std::shared_ptr<const CachedTree> cache;
};

/// Reads a subtree breadth first: of a whole level at once first what decides (states, role, number of children), then
/// the rest. Works with every toolkit, since it asks only what all of them answer.
///
/// The result is a tree whatever the application says: an element belongs to the first parent that names it. Not read:
/// closed menus, and the children of large or managed containers (lists, tables) that do not show. Ends early, with
/// what there is, at the deadline and when the application stops answering.
class TreeWalk {
 public:
  /// A container with more children than this is not asked for all of them at once: Qt takes half a second to name
  /// 2500 siblings, and tables, which make their cells on demand, need much memory as well.
  static int64_t mostChildren(const ElementFacts& container);

  TreeWalk(CallRunner& runner, WalkPlan plan, FactsMap& elements, TextMap& texts);

  /// Adds `start` and what is below it. Elements that the map holds already are not read again.
  void walk(const ElementRef& start, const ElementRef& parent);
  /// Reads of elements whose identity is known what is worth it beyond that: relations, values, texts.
  void readFurther(const std::vector<std::shared_ptr<ElementFacts>>& elements) { readExtras(elements); }
  /// False when something is missing: time ran out, or the application does not answer.
  bool complete() const { return complete_; }

 private:
  using Level = std::vector<std::shared_ptr<ElementFacts>>;

  bool fillFromCache(ElementFacts& element) const;
  void readExtentsAhead(const ElementRef& start);
  static void addIdentityCalls(TypedBatch& batch, ElementFacts& e,
                               const std::function<void(AccessibilityError)>& onError);
  std::shared_ptr<ElementFacts> claim(const ElementRef& element, const ElementRef& parent);
  void readIdentities(Level& level);
  void readDetails(const Level& level);
  Level readChildren(const Level& level);
  static void addExtraCalls(TypedBatch& batch, ElementFacts& e, facts::Set wanted);
  void readExtras(const Level& all);
  void readTextsOf(const Level& elements);
  void readLocalizedRoles(const Level& all);
  void adopt(ElementFacts& parent, const std::vector<ElementRef>& children, Level& next);
  void readVisibleChildren(ElementFacts& container, Level& next);
  void forget(const std::shared_ptr<ElementFacts>& element);
  void removeForgotten();

  bool showing(const ElementFacts& element) const;
  bool isClosedMenu(const ElementFacts& element) const;
  Rect visiblePart(const ElementFacts& element) const;
  void noteError(AccessibilityError error);
  bool stopped() const;

  CallRunner& runner_;
  const WalkPlan plan_;
  FactsMap& elements_;
  TextMap& texts_;
  std::unordered_map<ElementRef, bool, ElementRefHash> forgotten_;
  std::unordered_map<ElementRef, std::optional<Rect>, ElementRefHash> extentsAhead_;
  bool complete_ = true;
};

}  // namespace jumplark::atspi

#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "backends/linux/atspi/bus/MethodCall.h"
#include "backends/linux/atspi/element/ElementDraft.h"
#include "backends/linux/atspi/reading/TextReading.h"
#include "backends/linux/atspi/reading/Toolkit.h"

namespace jumplark::atspi {

class CachedTree;
class Experiences;
class Prefetch;
class TypedBatch;

struct WalkPlan {
  const Toolkit* toolkit = nullptr;  ///< never null
  Point offset;                      ///< what extents that are reported need, see Toolkit::originIn
  /// Descend only into what shows. What does not is still named in its parent's children, with its identity.
  bool visibleOnly = true;
  TimePoint deadline;
  std::function<bool()> cancelled;  ///< asked between rounds; may be empty
  /// What the application said at once of its elements, so that only the rest is asked; may be null.
  std::shared_ptr<const CachedTree> cache;
  /// What has been asked already of what the cache names; may be null.
  std::shared_ptr<Prefetch> ahead;
  Experiences* experiences = nullptr;  ///< never null
};

/// What every walk through a tree does, whatever the toolkit: an element belongs to the first parent that names it, one
/// that has gone leaves its parent, and a walk ends, with what there is, at the deadline and when the application stops
/// answering.
class WalkSteps {
 public:
  /// False when something is missing: time ran out, or the application does not answer.
  bool complete() const { return complete_; }

 protected:
  using Level = std::vector<std::shared_ptr<ElementFacts>>;
  static constexpr facts::Set kRead = facts::identity | facts::texts | facts::extents | facts::children;

  WalkSteps(CallRunner& runner, WalkPlan plan, ElementDraft& elements, TextMap& texts)
      : runner_(runner), plan_(std::move(plan)), elements_(elements), texts_(texts) {}

  /// Null for an element that the map holds already.
  std::shared_ptr<ElementFacts> claim(const ElementRef& element, const ElementRef& parent);
  void adopt(ElementFacts& parent, const std::vector<ElementRef>& children, Level& next);
  /// Takes out of the level, and of the tree, what has gone since its parent named it.
  void leaveOutVanished(Level& level);
  const ElementFacts* parentOf(const ElementFacts& element) const;
  /// What is to be seen of an element, as far as the places are known that are right; null when nothing.
  Rect visiblePart(const ElementFacts& element) const;

  /// Each adds the calls for what it names to the batch.
  void askStates(TypedBatch& batch, ElementFacts& element);
  void askName(TypedBatch& batch, ElementFacts& element);
  void askTexts(TypedBatch& batch, ElementFacts& element);
  void askExtents(TypedBatch& batch, ElementFacts& element);
  void askInterfaces(TypedBatch& batch, ElementFacts& element);
  void askChildCount(TypedBatch& batch, ElementFacts& element);

  /// Reads of elements that have been read so far what is worth it beyond that: relations, values, texts.
  void readFurther(const Level& all);

  /// Silence is what ends a walk; an element that cannot answer is just that.
  void noteError(AccessibilityError error);
  std::function<void(AccessibilityError)> noting() {
    return [this](AccessibilityError error) { noteError(error); };
  }
  bool stopped() const;

  CallRunner& runner_;
  const WalkPlan plan_;
  ElementDraft& elements_;
  TextMap& texts_;
  bool complete_ = true;

 private:
  /// Adds what asks the labels beside boxes that may name a button which of them they caption; the boxes do not say.
  void askCaptions(TypedBatch& batch, const Level& all);
  /// Adds what asks for the name of the element's role, unless that is known.
  void askRoleName(TypedBatch& batch, const ElementFacts& element, std::unordered_map<uint32_t, std::string>& names);
  std::vector<TextRequest> textRequests(const Level& elements) const;
  void keepTexts(const Level& elements, const std::vector<TextRequest>& requests);
};

}  // namespace jumplark::atspi

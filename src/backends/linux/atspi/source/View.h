#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "backends/linux/atspi/source/ElementSource.h"

namespace jumplark::atspi {

/// What questions about elements are answered from: snapshots while some are in force, else the applications. Whoever
/// asks holds the view that he means.
///
/// Looks from one element to those around it without asking an application for what cannot matter: where a snapshot of
/// showing elements holds the parent, a child that it does not hold is one that does not show, and is not read.
///
/// Never changes, but for what its snapshots keep. Calls may come from any thread.
class View {
 public:
  using Snapshots = std::vector<SnapshotPointer>;  ///< at most one an application
  enum class Kind {
    snapshots,  ///< answers from its snapshots where they hold the element
    live,       ///< reads anew, but for what was read for an action
  };
  static constexpr size_t kAll = std::numeric_limits<size_t>::max();
  /// Children of an element outside a snapshot are read one by one; beyond this many only the first ones are.
  static constexpr size_t kMostLiveChildren = 200;

  /// `last` are the last snapshots of applications, in force or not.
  View(ElementSource& source, Kind kind, Snapshots snapshots, Snapshots last)
      : source_(source), kind_(kind), snapshots_(std::move(snapshots)), last_(std::move(last)) {}

  ElementSource& source() const { return source_; }
  const Snapshots& snapshots() const { return snapshots_; }
  const Snapshots& last() const { return last_; }
  /// The last snapshot of an element's application, in force or not; null without one.
  SnapshotPointer lastOf(const ElementRef& element) const;

  /// The facts of an element, at least the wanted groups. invalidElement for an element that has gone.
  ElementSource::Answer facts(const ElementRef& element, facts::Set wanted) const;
  /// As facts() for many elements at once, pipelined; an entry is null where the element could not be read.
  std::vector<FactsPointer> factsOfAll(const std::vector<ElementRef>& elements, facts::Set wanted) const;
  /// Only if the tree of a snapshot in force holds the element, not if it was read later; no message. Null otherwise,
  /// and always in a live view.
  FactsPointer inSnapshot(const ElementRef& element) const;
  /// The snapshot in force that holds the element; null as above.
  SnapshotPointer snapshotOf(const ElementRef& element) const;
  /// True when reads of the element answer from a snapshot.
  bool isInSnapshot(const ElementRef& element) const { return inSnapshot(element) != nullptr; }

  /// Facts with at least the wanted groups; null for an empty reference or an element that cannot be read.
  FactsPointer get(const ElementRef& element, facts::Set wanted) const;
  /// The element's parent as its toolkit says; null for an application.
  FactsPointer parentOf(const ElementFacts& element, facts::Set wanted = facts::identity) const;
  /// The same element with more groups; itself when it cannot be read any more.
  FactsPointer with(const FactsPointer& element, facts::Set wanted) const;
  /// One entry per known child reference, in order, at most `limit`; null where one could not be read. Where a snapshot
  /// of showing elements is in force, a child that does not show is null or comes with no more than is known of it.
  std::vector<FactsPointer> childrenOf(const ElementFacts& element, facts::Set wanted, size_t limit = kAll) const;
  /// The nearest element around this one, from its parent on, that is `wanted`; null without one within reach.
  template <typename Wanted>
  FactsPointer findAbove(const ElementFacts& element, facts::Set groups, Wanted wanted) const {
    FactsPointer above = get(element.parent, groups);
    for (int step = 0; above && step < ElementTree::kMostAncestors; ++step) {
      if (wanted(*above)) {
        return above;
      }
      above = get(above->parent, groups);
    }
    return nullptr;
  }
  AccessibilityResult<std::vector<ElementRef>> childrenInRange(const ElementRef& element, int64_t index,
                                                               int64_t count) const;

  ElementRef application(int32_t pid) const;
  /// The accessible frame of the application's topmost normal window or dialog (title and geometry decide, not the
  /// ACTIVE state); empty when it has none.
  ElementRef focusedWindow(const ElementRef& application) const;
  /// The frames and dialogs of the application that are on screen, front to back.
  std::vector<MatchedFrame> frames(const ElementRef& application) const;
  /// The menu bar inside a window, and the element that has keyboard focus; empty when there is none.
  ElementRef menuBar(const ElementRef& window) const;
  ElementRef focusedElement(const ElementRef& application) const;

  /// The text between two code-point offsets; UTF-8.
  AccessibilityResult<std::string> textInRange(const ElementRef& element, int64_t start, int64_t end) const;
  /// Code-point offsets of the characters at the corners of what shows of a text, end exclusive.
  AccessibilityResult<std::pair<int64_t, int64_t>> visibleTextRange(const ElementRef& element) const;
  /// See ElementSource; empty but in a live view, since it takes time.
  ElementRef topmostInDocument(const ElementRef& document, Point point) const;

  ReadScope scopeOf(const ElementRef& element) const;

 private:
  const SnapshotPointer& knownOf(const ElementRef& element) const;
  bool onlyVisibleIsKnown(const ElementRef& element) const;
  const TextFacts* textKnown(const ElementRef& element) const;

  ElementSource& source_;
  const Kind kind_;
  const Snapshots snapshots_;
  const Snapshots last_;
};

}  // namespace jumplark::atspi

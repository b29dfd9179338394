#pragma once

#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "backends/linux/atspi/source/ElementSource.h"

namespace jumplark::atspi {

/// What questions about elements are answered from: the snapshots that are in force, or what the applications say now.
/// Whoever asks holds the view that he means.
///
/// Looks from one element to those around it without asking an application for what cannot matter: where a snapshot of
/// showing elements holds the parent, a child that it does not hold is one that does not show, and is not read.
///
/// Never changes. Calls may come from any thread.
class View {
 public:
  using Snapshots = std::vector<SnapshotPointer>;  ///< at most one an application
  static constexpr size_t kAll = std::numeric_limits<size_t>::max();
  /// Children of an element outside a snapshot are read one by one; without another limit only so many are.
  static constexpr size_t kMostLiveChildren = 200;

  /// Of the snapshots, which are in force.
  View(ElementSource& source, Snapshots snapshots)
      : source_(source), snapshots_(std::move(snapshots)), isLive_(false) {}
  /// Of what there is now, but for what was read for an action. The snapshots, which are in force or were the last,
  /// tell how to read.
  static View live(ElementSource& source, Snapshots snapshots, SnapshotPointer action) {
    View view(source, std::move(snapshots));
    view.isLive_ = true;
    if (action) {
      view.action_.push_back(std::move(action));
    }
    return view;
  }

  ElementSource& source() const { return source_; }
  const Snapshots& snapshots() const { return snapshots_; }
  bool isLive() const { return isLive_; }
  /// The last snapshot of an element's application, in force or not; null without one.
  SnapshotPointer lastOf(const ElementRef& element) const;
  /// The snapshot in force that holds the element in its tree, so that reads answer from it; null without one.
  SnapshotPointer snapshotOf(const ElementRef& element) const;

  /// The facts of an element, at least the wanted groups. invalidElement for an element that has gone.
  ElementSource::Answer facts(const ElementRef& element, facts::Set wanted) const;
  /// As facts() for many elements at once, pipelined; an entry is null where the element could not be read.
  std::vector<FactsPointer> factsOfAll(const std::vector<ElementRef>& elements, facts::Set wanted) const;
  /// The same, with why one could not be read.
  std::vector<ElementSource::Answer> answersOfAll(const std::vector<ElementRef>& elements, facts::Set wanted) const;
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

  /// What `find` finds out about an element; only once about one that a snapshot holds.
  template <typename T, typename Find>
  T once(const ElementRef& element, std::optional<T> Findings::*slot, Find find) const {
    const auto [snapshot, index] = placeOf(element);
    return snapshot ? snapshot->once(index, slot, find) : find();
  }
  /// What has been found out about it; none before.
  template <typename T>
  std::optional<T> known(const ElementRef& element, std::optional<T> Findings::*slot) const {
    const auto [snapshot, index] = placeOf(element);
    return snapshot ? snapshot->known(index, slot) : std::nullopt;
  }
  /// What is around an element clips it so; none where no snapshot knows.
  std::optional<Clip> clipOf(const ElementRef& element) const;

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
  /// The snapshot that answers for an element's application; null where all is read.
  const SnapshotPointer& knownOf(const ElementRef& element) const;
  /// The same if it holds the element in its tree, and where.
  std::pair<const Snapshot*, int> placeOf(const ElementRef& element) const;
  const TextFacts* textKnown(const ElementRef& element) const;

  ElementSource& source_;
  Snapshots snapshots_;
  Snapshots action_;
  bool isLive_;
};

}  // namespace jumplark::atspi

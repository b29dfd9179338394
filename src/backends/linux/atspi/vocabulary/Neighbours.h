#pragma once

#include <cstddef>
#include <limits>
#include <mutex>
#include <string>
#include <unordered_set>
#include <vector>

#include "backends/linux/atspi/source/ElementSource.h"

namespace jumplark::atspi {

/// Looks from one element to those around it without asking an application for what cannot matter: where a snapshot of
/// showing elements holds the parent, a child that it does not hold is one that does not show, and is not read.
///
/// Calls may come from any thread.
class Neighbours {
 public:
  static constexpr size_t kAll = std::numeric_limits<size_t>::max();
  /// Children of an element outside a snapshot are read one by one; beyond this many only the first ones are.
  static constexpr size_t kMostLiveChildren = 200;

  explicit Neighbours(ElementSource& source) : source_(source) {}

  void snapshotPrepared(const ElementRef& application, bool visibleOnly);
  void snapshotsEnded();

  /// Facts with at least the wanted groups; null for an empty reference or an element that cannot be read.
  FactsPointer get(const ElementRef& element, facts::Set wanted) const;
  /// The element's parent as its toolkit says; null for an application.
  FactsPointer parentOf(const ElementFacts& element, facts::Set wanted = facts::identity) const;
  /// The same element with more groups; itself when it cannot be read any more.
  FactsPointer with(const FactsPointer& element, facts::Set wanted) const;

  /// One entry per known child reference, in order, at most `limit`; null where one could not be read. Where a snapshot
  /// of showing elements is in force, a child that does not show is null or comes with no more than is known of it.
  std::vector<FactsPointer> childrenOf(const ElementFacts& element, facts::Set wanted, size_t limit = kAll) const;

  /// True when reads of the element answer from a snapshot now.
  bool isInSnapshot(const ElementRef& element) const { return source_.snapshotFacts(element) != nullptr; }

 private:
  bool onlyVisibleIsKnown(const ElementRef& element) const;

  ElementSource& source_;
  mutable std::mutex mutex_;
  std::unordered_set<std::string> visibleOnly_;  ///< bus names
};

}  // namespace jumplark::atspi

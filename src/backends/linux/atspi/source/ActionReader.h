#pragma once

#include <utility>
#include <vector>

#include "backends/linux/atspi/source/View.h"

namespace jumplark::atspi {

/// Reads what an action on one element is going to ask. An application that gets the focus back may be busy with its
/// looks for some tenths of a second, in which every question waits for a picture to be drawn.
class ActionReader {
 public:
  /// `scope` is what is known of the application until now, `now` a snapshot that gets what is read.
  ActionReader(ElementSource& source, CallRunner& runner, const ReadScope& scope, SnapshotPointer now)
      : runner_(runner),
        before_(scope.known),
        now_(now),
        live_(View::live(source, scope.placed ? View::Snapshots{scope.placed} : View::Snapshots(), std::move(now))) {}

  /// The element and everything above it anew, with what hit tests look at: what stands beside each, and what that
  /// holds.
  void read(const ElementRef& element, TimePoint deadline);

 private:
  FactsPointer before(const ElementRef& element) const { return before_ ? before_->find(element) : nullptr; }
  FactsPointer now(const ElementRef& element) const { return now_->find(element); }
  void keep(FactsPointer facts) { now_->add(std::move(facts)); }
  /// Children that are as many as before are the same.
  std::vector<FactsPointer> withChildren(const std::vector<ElementRef>& containers, const std::vector<int64_t>& counts);
  /// What stands below is taken as it was: an action that finds its element where it was takes the rest so, but for
  /// what is new.
  void keepSurroundings(const std::vector<FactsPointer>& containers);
  std::vector<FactsPointer> readSurroundings(const std::vector<ElementRef>& elements);

  CallRunner& runner_;
  const SnapshotPointer before_;
  const SnapshotPointer now_;
  const View live_;
};

}  // namespace jumplark::atspi

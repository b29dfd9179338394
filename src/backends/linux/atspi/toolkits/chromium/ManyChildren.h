#pragma once

#include <unordered_map>
#include <vector>

#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/element/ElementFacts.h"

namespace jumplark::atspi {

/// Finds out of the children of a container, by a few questions to its Collection interface, which of them show, and of
/// the frequent kinds what they are; asked one by one that would be thousands of questions. Only the container's own
/// children are looked at, so that the answers take no longer than naming them.
class ManyChildren {
 public:
  explicit ManyChildren(ElementFacts& of) : container(&of) {}
  ManyChildren(const ManyChildren&) = delete;
  ManyChildren& operator=(const ManyChildren&) = delete;

  /// Adds the questions. This stays where it is until the batch has run.
  void ask(TypedBatch& batch);
  /// The same for what the first answers left open.
  void askMore(TypedBatch& batch);
  /// False when the container did not tell.
  bool answered() const { return answered_; }
  /// In order.
  const std::vector<ElementRef>& showing() const { return showing_; }
  /// Sets role and states of one of them, if it is of a frequent kind and has not the focus.
  void describe(ElementFacts& child) const;

  ElementFacts* const container;

 private:
  /// Of these the other states say nothing that anybody asks.
  void askFor(uint32_t role, TypedBatch& batch);

  bool answered_ = false;
  std::vector<ElementRef> showing_;
  std::unordered_map<ElementRef, uint32_t, ElementRefHash> roles_;  ///< of what has not the focus
};

}  // namespace jumplark::atspi

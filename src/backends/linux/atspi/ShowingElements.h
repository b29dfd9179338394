#pragma once

#include <optional>
#include <unordered_map>
#include <vector>

#include "backends/linux/atspi/MethodCall.h"

namespace jumplark::atspi {

/// What an application with the Collection interface says shows below an element, in document order, with the roles of
/// the most frequent ones; three answers instead of thousands. Who stands below whom follows from the order, as soon as
/// the children of what is above are known.
class ShowingElements {
 public:
  /// Where in the list the elements below one stand.
  struct Range {
    size_t begin = 0;
    size_t end = 0;
    size_t size() const { return end - begin; }
  };

  /// None when the application does not answer, or has so much besides what shows that looking for it takes long: it
  /// goes through everything, meanwhile doing nothing else.
  static std::optional<ShowingElements> read(CallRunner& runner, const ElementRef& start, TimePoint deadline);

  bool holds(const ElementRef& element) const { return places_.contains(element); }
  const ElementRef& at(size_t place) const { return elements_[place]; }
  /// None for an element whose place is not known yet.
  std::optional<Range> below(const ElementRef& element) const;
  /// Tells which of the elements below `parent` are its children, in order.
  void noteChildren(const ElementRef& parent, const std::vector<ElementRef>& children);
  /// None for the less frequent roles.
  std::optional<uint32_t> roleOf(const ElementRef& element) const;

 private:
  explicit ShowingElements(const ElementRef& start, std::vector<ElementRef> elements);

  std::vector<ElementRef> elements_;
  std::unordered_map<ElementRef, size_t, ElementRefHash> places_;
  std::unordered_map<ElementRef, Range, ElementRefHash> ranges_;
  std::unordered_map<ElementRef, uint32_t, ElementRefHash> roles_;
};

}  // namespace jumplark::atspi
